#include "main/lib/base/fairy/fairy_base.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ztlib {

namespace {

constexpr std::uint64_t firstYear = 1601;
constexpr std::string_view form = "dddd-dd-ddTdd:dd:ddZ";

bool IsLeapYear(std::uint64_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

bool HasForm(std::string_view text) {
  if (text.size() != form.size()) return false;
  for (std::size_t i = 0; i < form.size(); ++i) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    if (form[i] == 'd' ? !digit : text[i] != form[i]) return false;
  }
  return true;
}

}  // namespace

CTUTCTime::CTUTCTime(ACDataFairy& owner, Token token, std::uint64_t access, std::uint64_t def)
    : TCFairyValueItem(owner, token, access, def) {}

bool CTUTCTime::Parse(std::string_view text, std::uint64_t& msSince1601) {
  if (!HasForm(text)) return false;
  const auto number = [text](std::size_t at, std::size_t digits) {
    std::uint64_t result = 0;
    for (const char digit : text.substr(at, digits))
      result = result * 10 + static_cast<std::uint64_t>(digit - '0');
    return result;
  };
  const std::uint64_t year = number(0, 4), month = number(5, 2), day = number(8, 2);
  const std::uint64_t hour = number(11, 2), minute = number(14, 2), second = number(17, 2);
  if (year < firstYear || month < 1 || month > 12 || hour > 23 || minute > 59 || second > 60)
    return false;
  static constexpr std::array<std::uint64_t, 13> daysBefore = {0,   31,  59,  90,  120, 151, 181,
                                                               212, 243, 273, 304, 334, 365};
  const std::uint64_t leapDay = month == 2 && IsLeapYear(year) ? 1 : 0;
  if (day < 1 || day > daysBefore[month] - daysBefore[month - 1] + leapDay) return false;
  const std::uint64_t years = year - firstYear;
  const std::uint64_t days = years * 365 + years / 4 - years / 100 + years / 400 +
                             daysBefore[month - 1] + (month > 2 && IsLeapYear(year) ? 1 : 0) + day -
                             1;
  msSince1601 = (((days * 24 + hour) * 60 + minute) * 60 + second) * 1000;
  return true;
}

void CTUTCTime::FromCData(Token token, const CData& data) {
  const CDataValue* const found = data.Find(token, cdDouble);
  if (!found) return TCFairyValueItem::FromCData(token, data);
  const double number = found->GetDouble();
  if (number >= 0 && number < 0x1p64)
    value = static_cast<std::uint64_t>(number);
  else if (number >= -0x1p63 && number < 0)
    value = static_cast<std::uint64_t>(static_cast<std::int64_t>(number));
}

void CTUTCTime::Write(CData& data, Token token, const std::uint64_t& written) const {
  data.AddTime(token, written);
}

bool CTUTCTime::Read(const CDataValue& element, std::uint64_t& out) const {
  if (element.GetKind() == cdString) return Parse(element.GetString(), out);
  if (element.GetKind() != cdTime) return false;
  out = element.GetTime();
  return true;
}

}  // namespace ztlib
