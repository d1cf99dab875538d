#include "main/lib/base/fairy/fairy_enum.h"

#include "main/lib/base/debug.h"

#include <string>
#include <typeinfo>
#include <utility>

namespace ztlib {

namespace {
constexpr char source[] = "main/lib/base/fairy/fairy_enum";
constexpr int namelessDefaultLine = 169;
}  // namespace

CEnumerationBase::CEnumerationBase(ACDataFairy& owner, Token token, std::uint64_t access,
                                   std::int32_t def, std::vector<CEnumerationEntry> entries)
    : AFairyItem(owner, token, access),
      value(def),
      defaultValue(def),
      entries(std::move(entries)) {}

const char* CEnumerationBase::NameOf(std::int32_t searched) const {
  for (const CEnumerationEntry& entry : entries)
    if (entry.value == searched) return entry.name;
  return nullptr;
}

void CEnumerationBase::CloneFrom(const AFairyItem& other, bool full) {
  if (typeid(other) != typeid(*this)) return;
  const auto& original = static_cast<const CEnumerationBase&>(other);
  if (full) {
    entries = original.entries;
    defaultValue = original.defaultValue;
  }
  if (NameOf(original.value)) value = original.value;
}

void CEnumerationBase::ToCData(Token token, CData& data, const AFairyAccessFilter&) const {
  const char* name = NameOf(value);
  if (!name) name = NameOf(defaultValue);
  data.AddString(token, name ? name : "");
}

void CEnumerationBase::FromCData(Token token, const CData& data) {
  const CDataValue* const found = data.Find(token, cdString);
  if (!found) return;
  const std::string& name = found->GetString();
  for (const CEnumerationEntry& entry : entries) {
    if (name != entry.name) continue;
    value = entry.value;
    changed = true;
    return;
  }
}

void CEnumerationBase::SetDefault() {
  changed = true;
  value = defaultValue;
}

void CEnumerationBase::ToCDataOptions(Token token, CData& data) const {
  CData& description = data.AddChild(token);
  CData& values = description.AddChild(Tok::Values);
  for (const CEnumerationEntry& entry : entries)
    if (entry.visible) values.AddString(Tok::Empty, entry.name);
  const char* name = NameOf(defaultValue);
  if (!name) ReportFailedAssertion(source, namelessDefaultLine, "false");
  description.AddString(Tok::Default, name ? name : "");
}

}  // namespace ztlib
