#include "main/lib/base/fairy/fairy_container.h"

#include "main/lib/base/debug.h"

#include <cstdint>
#include <memory>
#include <typeinfo>
#include <utility>
#include <vector>

namespace ztlib {

namespace {

constexpr char source[] = "main/lib/base/fairy/fairy_container";

// The node under a token, or null: absent, of another kind or without payload.
const CData* FindNode(const CData& data, Token token) {
  const CDataValue* const found = data.Find(token, cdNode);
  return found ? found->GetNode() : nullptr;
}

void WriteEntry(CData& list, const std::shared_ptr<CData>& entry) {
  list.AddChild(Tok::Empty, entry ? CData(*entry) : CData());
}

void WriteEntry(CData& list, const std::vector<short>& entry) {
  list.AddShortArray(Tok::Empty, entry);
}

void ReadEntry(const CData& list, std::uint64_t position, std::shared_ptr<CData>& out) {
  const CData* node = list.NodeAt(position);
  out = node ? std::make_shared<CData>(*node) : std::make_shared<CData>();
}

void ReadEntry(const CData& list, std::uint64_t position, std::vector<short>& out) {
  if (const auto* array = list.ShortArrayAt(position)) out = *array;
}

}  // namespace

CDataFairyBase::CDataFairyBase() = default;

CDataFairyBase::CDataFairyBase(ACDataFairy& owner, Token token, std::uint64_t access)
    : AFairyItem(owner, token, access) {}

CDataFairyBase::~CDataFairyBase() = default;

CData CDataFairyBase::ToCData(const AFairyAccessFilter& filter) const {
  CData data;
  for (const auto& [token, item] : items) {
    if ((filter.mask & item->flags) != 0)
      item->ToCData(token, data, filter);
    else if (item->blankWhenFiltered == 1)
      item->ToCDataBlank(token, data, filter);
  }
  return data;
}

void CDataFairyBase::FromCData(const CData& data) {
  for (const auto& [token, item] : items)
    item->FromCData(token, data);
}

void CDataFairyBase::FromCDataPassive(const CData& data) {
  for (const auto& [token, item] : items)
    item->FromCDataPassive(token, data);
}

void CDataFairyBase::SetDefaults() {
  for (const auto& entry : items)
    entry.second->SetDefault();
}

void CDataFairyBase::AddItem(Token token, AFairyItem* item) {
  items.emplace_back(token, item);
}

template <class Clone>
void CDataFairyBase::ClonePairwise(const ACDataFairy* other, Clone clone) {
  if (!other) ZT_THROW(CException, "Using null-pointer", "CloneFrom", source, 79);
  const Items& originals = other->GetItems();
  if (originals.size() != items.size()) {
    ZT_LOG(1, source, 82, "Tried to clone CDataFairies of different sizes!");
    return;
  }
  for (std::size_t i = 0; i < items.size(); ++i) {
    items[i].first = originals[i].first;
    clone(*items[i].second, *originals[i].second);
  }
}

void CDataFairyBase::CloneFrom(const ACDataFairy* other, bool full) {
  ClonePairwise(other, [full](AFairyItem& item, const AFairyItem& original) {
    item.CloneFrom(original, full);
  });
}

void CDataFairyBase::CloneChanged(const ACDataFairy* other) {
  ClonePairwise(other,
                [](AFairyItem& item, const AFairyItem& original) { item.CloneChanged(original); });
}

void CDataFairyBase::ToCDataOptions(Token token, CData& data) const {
  CData& description = FindNode(data, token) != nullptr ? data.Child(token) : data.AddChild(token);
  for (const auto& [itemToken, item] : items)
    item->ToCDataOptions(itemToken, description);
}

void CDataFairyBase::ToCDataOptions(CData& data) const {
  ToCDataOptions(Tok::Options, data);
}

CData CDataFairyBase::ToCDataFull(const AFairyAccessFilter& filter) const {
  CData data = ToCData(filter);
  ToCDataOptions(data);
  return data;
}

void CDataFairyBase::CloneFrom(const AFairyItem& other, bool) {
  if (const auto* record = dynamic_cast<const ACDataFairy*>(&other)) CloneFrom(record, true);
}

void CDataFairyBase::CloneChanged(const AFairyItem& other) {
  if (const auto* record = dynamic_cast<const ACDataFairy*>(&other)) CloneChanged(record);
}

void CDataFairyBase::ToCData(Token token, CData& data, const AFairyAccessFilter& filter) const {
  data.AddChild(token, ToCData(filter));
}

void CDataFairyBase::FromCData(Token token, const CData& data) {
  if (const CData* node = FindNode(data, token)) FromCData(*node);
}

void CDataFairyBase::FromCDataPassive(Token token, const CData& data) {
  if (const CData* node = FindNode(data, token)) FromCDataPassive(*node);
}

void CDataFairyBase::SetDefault() {
  SetDefaults();
}

void CFairyCData::Write(CData& data, Token token, const CData& written) const {
  data.AddChild(token, CData(written));
}

bool CFairyCData::Read(const CDataValue& element, CData& out) const {
  const CData* node = element.GetNode();
  if (!node) return false;
  out = *node;
  return true;
}

template <class V>
void CFairyArrayItem<V>::Write(CData& data, Token token, const std::vector<V>& written) const {
  CData& list = data.AddChild(token);
  for (const V& entry : written)
    WriteEntry(list, entry);
}

template <class V>
bool CFairyArrayItem<V>::Read(const CDataValue& element, std::vector<V>& out) const {
  const CData* list = element.GetNode();
  if (!list) return false;
  std::vector<V> read(list->Count());
  for (std::uint64_t i = 0; i < read.size(); ++i)
    ReadEntry(*list, i, read[i]);
  out.swap(read);
  return true;
}

void CFairyNestedArrayBase::Fit(std::size_t count) {
  if (count < records.size()) records.resize(count);
  records.reserve(count);
  while (records.size() < count)
    records.push_back(Create());
}

void CFairyNestedArrayBase::Resize(std::size_t count) {
  changed = true;
  Fit(count);
}

void CFairyNestedArrayBase::CloneFrom(const AFairyItem& other, bool full) {
  if (typeid(other) != typeid(*this)) return;
  const auto& original = static_cast<const CFairyNestedArrayBase&>(other);
  Fit(original.records.size());
  for (std::size_t i = 0; i < records.size(); ++i)
    records[i]->CloneFrom(static_cast<const ACDataFairy*>(original.records[i].get()), full);
}

void CFairyNestedArrayBase::ToCData(Token token, CData& data,
                                    const AFairyAccessFilter& filter) const {
  CData& list = data.AddChild(token);
  for (const auto& record : records)
    record->ToCData(Tok::Empty, list, filter);
}

void CFairyNestedArrayBase::FromCData(Token token, const CData& data) {
  const CData* list = FindNode(data, token);
  if (!list) return;
  changed = true;
  Fit(list->Count());
  for (std::uint64_t i = 0; i < list->Count(); ++i)
    if (const CData* node = list->At(i).value.GetNode()) records[i]->FromCData(*node);
}

void CFairyNestedArrayBase::SetDefault() {
  changed = true;
  records.clear();
}

void CFairyNestedArrayBase::ToCDataOptions(Token token, CData& data) const {
  data.AddChild(token);
}

template class CFairyArrayItem<std::shared_ptr<CData>>;
template class CFairyArrayItem<std::vector<short>>;

}  // namespace ztlib
