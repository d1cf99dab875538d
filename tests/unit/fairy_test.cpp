#include "main/lib/base/debug.h"
#include "main/lib/base/fairy/fairy_container.h"
#include "main/lib/base/fairy/fairy_enum.h"
#include "main/lib/base/fairy/fairy_numeric.h"
#include "tests/support/common.h"

#include <chrono>
#include <sstream>
#include <stdexcept>

using namespace ztlib;

namespace {

std::vector<std::string> logged;

// Only the latest stream records, because the logger keeps those of earlier tests.
class CRecordingStream : public ILogStream {
 public:
  CRecordingStream() {
    latest = this;
    logged.clear();
  }
  void Write(int level, const char* text) override {
    if (latest == this) logged.push_back(std::to_string(level) + " " + text);
  }

 private:
  static inline CRecordingStream* latest;
};

// Writes a tree in one line: NAME=VALUE, with a letter for the kind of numbers.
std::string Dump(const CData& data);

std::string Dump(const CDataValue& value) {
  const std::uint16_t kind = value.GetKind();
  std::ostringstream text;
  if (kind == cdBool) text << "b" << value.GetBool();
  if (kind == cdInt) text << "i" << value.GetInt();
  if (kind == cdLongLong) text << "q" << value.GetLongLong();
  if (kind == cdTime) text << "t" << value.GetTime();
  if (kind == cdDouble) text << "f" << value.GetDouble();
  if (kind == cdString) text << "'" << value.GetString() << "'";
  if (kind == cdGuid) text << value.GetGuid()->ToString().substr(0, 9);
  if (kind == cdBinary) text << "x" << (value.GetBinary() ? value.GetBinary()->Size() : 0);
  if (kind == cdNode) text << "{" << Dump(*value.GetNode()) << "}";
  if (kind == cdShortArray)
    for (const std::int16_t number : *value.GetShortArray())
      text << "," << number;
  return text.str();
}

std::string Dump(const CData& data) {
  std::string text;
  for (const CDataElement& element : data.Elements())
    text += (text.empty() ? "" : " ") + std::string(data.KeyText(element.key)) + "=" +
            Dump(element.value);
  return text;
}

enum class Color : std::int32_t { Red = 1, Green = 2, Blue = 7 };

class CPoint : public CDataFairy<CPoint> {
 public:
  using CDataFairy::CDataFairy;
  CFairySimpleItem<int> x{*this, Tok::X, 1, 3};
  CFairySimpleItem<int> y{*this, Tok::Y};
};

// This record has an item of every class, each with a different value.
class CEverything : public CDataFairy<CEverything> {
 public:
  CFairySimpleItem<bool> flag{*this, Tok::Enabled, 1, true};
  CFairySimpleItem<int> number{*this, Tok::Bits, 1, 5};
  CFairySimpleItem<int> bare{*this, Tok::Version};
  CFairySimpleItem<long long> big{*this, Tok::Count, 1, -6};
  CFairySimpleItem<double> factor{*this, Tok::Factor, 1, 0.5};
  CFairySimpleItem<CGuid> guid{*this, Tok::ID, 1, CGuid{{0xAB}}};
  CFairySimpleItem<std::shared_ptr<CBinData>> binary{*this, Tok::Motion};
  CFairyLimitedNumericItem<long long> limited{*this, Tok::ViolationTimeMs, 1, 10, 0, 100};
  CStringItem text{*this, Tok::Name, 1, "def"};
  CEnumeration<Color> color{*this,
                            Tok::Type,
                            1,
                            Color::Green,
                            {{1, "red", true}, {2, "green", true}, {7, "blue", false}}};
  CTUTCTime time{*this, Tok::EventTime, 1, 8};
  CFairyCData free{*this, Tok::Configs};
  CFairyArrayItem<std::shared_ptr<CData>> trees{*this, Tok::Figures};
  CFairyArrayItem<std::vector<short>> arrays{*this, Tok::Masks, 1, {{1, 2}}};
  CFairyNestedArray<CPoint> points{*this, Tok::Points};
  CPoint point{*this, Tok::Point};
};

constexpr char defaults[] =
    "Enabled=b1 Bits=i5 Version=i0 Count=q-6 Factor=f0.5 ID={AB000000 Motion=x0 "
    "ViolationTimeMs=q10 Name='def' Type='green' EventTime=t8 Configs={} Figures={} "
    "Masks={=,1,2} Points={} Point={X=i3 Y=i0}";
constexpr char filled[] =
    "Enabled=b0 Bits=i6 Version=i7 Count=q-9 Factor=f1.5 ID={CD000000 Motion=x2 "
    "ViolationTimeMs=q100 Name='set' Type='blue' EventTime=t9 Configs={Dx=i4} "
    "Figures={={Dy=i1} ={}} Masks={=,3 =} Points={={X=i8 Y=i9} ={X=i3 Y=i0}} "
    "Point={X=i1 Y=i2}";

void Fill(CEverything& record) {
  record.flag.Set(false);
  record.number.Set(6);
  record.bare.Set(7);
  record.big.Set(-9);
  record.factor.Set(1.5);
  record.guid.Set(CGuid{{0xCD}});
  record.binary.Set(std::make_shared<CBinData>("ab", 2));
  record.limited.Set(100);
  record.text.Set("set");
  record.color.Set(Color::Blue);
  record.time.Set(9);
  record.free.Edit().AddInt(Tok::Dx, 4);
  auto tree = std::make_shared<CData>();
  tree->AddInt(Tok::Dy, 1);
  record.trees.Set({tree, nullptr});
  record.arrays.Set({{3}, {}});
  record.points.Add().x.Set(8);
  record.points.At(0).y.Set(9);
  record.points.Add();
  record.point.x.Set(1);
  record.point.y.Set(2);
}

std::ptrdiff_t ChangedItems(const ACDataFairy& record) {
  return std::ranges::count_if(record.GetItems(), [](auto& item) { return item.second->changed; });
}

TEST(Fairy, ARecordTravelsThroughATreeAndBack) {
  CEverything source, target;
  EXPECT_EQ(Dump(source.ToCData({})), defaults);
  EXPECT_EQ(ChangedItems(source), 0);
  Fill(source);
  EXPECT_EQ(ChangedItems(source), 15);  // the member record has no mark of its own
  CData wire;
  const CBinData bytes = ToTagged(source.ToCData({}));
  ASSERT_TRUE(ParseTagged(wire, bytes.Data(), bytes.Size()));
  target.points.Resize(5);
  target.FromCDataPassive(wire);
  EXPECT_EQ(Dump(target.ToCData({})), filled);
  EXPECT_EQ(ChangedItems(target), 15);

  CData shorter;
  shorter.AddChild(Tok::Points).AddChild(Tok::Empty).AddInt(Tok::Y, 5);
  target.FromCData(shorter);
  EXPECT_EQ(Dump(target.points.At(0).ToCData({})), "X=i8 Y=i5");
  EXPECT_THROW(target.points.At(1), std::out_of_range);

  // Only items without a default stay: the number and the binary.
  for (const auto& item : target.GetItems())
    item.second->changed = false;
  target.SetDefaults();
  EXPECT_EQ(ChangedItems(target), 13);
  std::string expected = defaults;
  expected.replace(expected.find("Version=i0"), 10, "Version=i7");
  expected.replace(expected.find("Motion=x0"), 9, "Motion=x2");
  expected.replace(expected.find("Y=i0"), 4, "Y=i2");
  EXPECT_EQ(Dump(target.ToCData({})), expected);
}

using V = CDataValue;

V NodeOf(std::initializer_list<V> children) {
  auto node = std::make_unique<CData>();
  for (const V& child : children)
    node->Append("", child);
  return V::OfNode(std::move(node));
}

// Tells what reading one element does to the item: its value as it is written, "=" if it stays
// unmarked, "(VALUE)" if it changes unmarked, or what was printed or thrown.
std::string ReadOf(Token token, const V& value) {
  CEverything record;
  CData data;
  data.Append(TokenText(token), value);
  const auto shown = [&] {
    const CData written = record.ToCData({});
    return Dump(written.At(static_cast<std::uint64_t>(written.Find(token))).value);
  };
  const std::string before = shown();
  testing::internal::CaptureStderr();
  std::string trouble = MessageOf([&] { record.FromCData(data); });
  if (trouble == "no exception") trouble.clear();
  trouble = testing::internal::GetCapturedStderr() + trouble;
  const std::string after = shown();
  if (ChangedItems(record) != 0) return after + trouble;
  return after != before ? "(" + after + ")" : trouble.empty() ? "=" : trouble;
}

// Takes pairs of an element and the outcome of reading it.
template <class... Rest>
void Expect(Token token, const V& value, const std::string& outcome, const Rest&... rest) {
  EXPECT_EQ(ReadOf(token, value), outcome)
      << TokenText(token) << ", " << sizeof...(rest) / 2 << " before the last";
  if constexpr (sizeof...(rest) != 0) Expect(token, rest...);
}

TEST(Fairy, ReadingConvertsWhatFitsAndReportsTheRest) {
  const std::string assertion = "------------> ASSERTION FAILED at main/lib/base/fairy/fairy_";
  const std::string no = assertion + "base:123 : changed is false!\n";
  const std::string beyond = assertion + "numeric:67 : contains is false!\n";
  const auto Bool = V::OfBool;
  const auto Text = V::OfString;
  const auto Int = V::OfInt;
  const auto Long = V::OfLongLong;
  const auto Real = V::OfDouble;
  const auto Time = V::OfTime;
  const V guid = V::OfGuid(std::make_unique<CGuid>(CGuid{{0xFE}})), noNode = V::OfNode(nullptr);
  Expect(Tok::Bits, Bool(2), "i1", Long(2147483647), "i2147483647", Long(2147483648), no,
         Long(-2147483648), "i-2147483648", Long(-2147483649), no, Real(-1.9), "i-1",
         Real(2147483647.0), "i2147483647", Real(2147483647.5), no, Real(NAN), no,
         Text(" \t-12abc"), "i-12", Text("99999999999"), no, Text("abc"), "stoll", V::OfByte(1),
         no);
  Expect(Tok::Enabled, Int(0), "b0", Int(2), no, Real(0.99), "b0", Real(-0.5), no);
  Expect(Tok::Count, Real(0x1p63), "q-9223372036854775808", Real(0x1.fffffffffffffp62),
         "q9223372036854774784", Real(0x1.0000000000001p63), no, Real(-0x1p63),
         "q-9223372036854775808", Text("-9223372036854775808"), "q-9223372036854775808");
  Expect(Tok::Factor, Int(3), "f3", Long(-4), "f-4", Real(-INFINITY), "f-inf", Text(" +1.5x"),
         "f1.5", Text("  "), "stod", Text("+-1"), "stod", Text("1e999"), "stod", V::OfShort(1), no);
  Expect(Tok::ViolationTimeMs, Int(100), "q100", Long(101), beyond, Long(-1), beyond, Real(-0.5),
         "q0", Text(""), "stoll", NodeOf({}), beyond);
  Expect(Tok::ID, guid, "{FE000000", V::OfGuid(nullptr), "{00000000",
         Text("00112233-4455-6677-8899-aabbccddeeff tail"), "{00112233", Text("{}"), no, Int(1),
         no);
  Expect(Tok::Motion, V::OfBinary(std::make_shared<CBinData>("abc", 3)), "x3", Text("abc"), no);
  Expect(Tok::Name, Text(""), "''", Int(1), "=");
  Expect(Tok::Type, Text("blue"), "'blue'", Text("Red"), "=", Int(1), "=");
  Expect(Tok::EventTime, Time(UINT64_MAX), "t18446744073709551615", Text("1601-01-02T00:00:01Z"),
         "t86401000", Text("1601-01-02"), "=", Real(12.9), "(t12)", Real(-1.5),
         "(t18446744073709551615)", Real(0x1p63), "(t9223372036854775808)", Real(0x1p64), "=",
         Real(-0x1.0000000000001p63), "=", Long(1), "=");
  Expect(Tok::Configs, NodeOf({Int(1)}), "{=i1}", noNode, "=", Int(1), "=");
  Expect(Tok::Figures, NodeOf({NodeOf({Int(1)}), noNode}), "{={=i1} ={}}",
         NodeOf({NodeOf({}), Int(1)}), "Unknown token: 1");
  Expect(Tok::Masks, NodeOf({V::OfShortArray(nullptr)}), "{=}", NodeOf({NodeOf({})}),
         "Unknown token: 0");
  Expect(Tok::Points, NodeOf({Int(1), noNode}), "{={X=i3 Y=i0} ={X=i3 Y=i0}}", Int(1), "=");
  Expect(Tok::Point, noNode, "=", Int(1), "=");
}

TEST(Fairy, CloningInFullTakesDefaultsAndLimitsToo) {
  CEverything source, target;
  Fill(source);
  target.CloneFrom(static_cast<const ACDataFairy*>(&source), false);
  EXPECT_EQ(Dump(target.ToCData({})), filled);
  EXPECT_EQ(ChangedItems(target), 0);
  for (const auto& item : target.GetItems())  // an item of another class changes nothing
    item.second->CloneFrom(
        item.second == &target.text ? static_cast<AFairyItem&>(source.number) : source.text, true);
  EXPECT_EQ(Dump(target.ToCData({})), filled);
  target.SetDefaults();
  EXPECT_EQ(target.number.Get(), 5);

  // An item is cloned from another, in part or in full, and has these values then. It takes limits,
  // and nothing that is outside of them.
  CDataFairyBase owner;
  using Limited = CFairyLimitedNumericItem<long long>;
  const Limited wide(owner, Tok::Fps, 1, 50, 40, 60), wrong(owner, Tok::Fps, 1, 9, 0, 5);
  Limited narrow(owner, Tok::Fps, 1, 1, 0, 5);
  for (const auto& [from, full, value, most] :
       {std::tuple(&wide, false, 1, 5), {&wide, true, 50, 60}, {&wrong, true, 50, 5}}) {
    narrow.CloneFrom(*from, full);
    EXPECT_TRUE(narrow.Get() == value && narrow.GetDefault() == value);
    EXPECT_EQ(narrow.GetMaximum(), most);
  }
  CEnumeration<Color> few(owner, Tok::Type, 1, Color::Red, {{1, "red", true}});
  for (const bool full : {false, true}) {
    few.CloneFrom(source.color, full);
    EXPECT_EQ(few.Get(), full ? Color::Blue : Color::Red);
  }
}

TEST(Fairy, RecordsAsItemsCloneOnlyInEqualSizes) {
  Logger().AddStream(new CRecordingStream);
  CEverything source, target;
  CFairySimpleItem<int> added(source.point, Tok::Width, 1, 6);
  target.CloneFrom(static_cast<const ACDataFairy*>(&source), true);
  target.point.CloneChanged(static_cast<const ACDataFairy*>(&source));
  EXPECT_EQ(logged,
            std::vector<std::string>(2, "1 Tried to clone CDataFairies of different sizes!"));
  EXPECT_THROW(target.CloneFrom(static_cast<const ACDataFairy*>(nullptr), true), CException);
}

TEST(Fairy, FiltersLeaveOutOrBlank) {
  Logger().AddStream(new CRecordingStream);
  class CGuarded : public CDataFairy<CGuarded> {
   public:
    CFairySimpleItem<int> plain{*this, Tok::Bits, 1, 1};
    CFairySimpleItem<int> other{*this, Tok::Count, 2, 2};
    CStringItem blank{*this, Tok::Name, 0x100000001, "secret"};
    CFairySimpleItem<int> logs{*this, Tok::Fps, 0x100000005, 3};
    CStringItem no{*this, Tok::Text, 0x200000001, "no"};
  } record;
  EXPECT_EQ(Dump(record.ToCData({.mask = 2})), "Count=i2 Name=''");
  EXPECT_EQ(Dump(record.ToCData({.mask = 1})), "Bits=i1 Name='secret' Fps=i3 Text='no'");
  EXPECT_EQ(record.ToCDataBlank({.mask = 0xAB}).Count(), 0U);
  EXPECT_EQ(
      logged,
      (std::vector<std::string>{
          "2 virtual void AFairyItem::ToCDataBlank(Token, CData&, const AFairyAccessFilter&) const "
          "called but no implementation exists! (flags: 0x00000005 filter: 0x00000002)",
          "2 virtual CData ACDataFairy::ToCDataBlank(const AFairyAccessFilter&) const called but "
          "no implementation exists! (filter: 0x000000ab)"}));
}

TEST(Fairy, OptionsDescribeDefaultsAndRanges) {
  CEverything record;
  Fill(record);
  CData full = record.ToCDataFull({});
  EXPECT_EQ(Dump(full.Child(Tok::Options)),
            "Enabled={Default=b1} Bits={Default=i5} Version={Default=i0} Count={Default=q-6} "
            "Factor={Default=f0.5} ID={Default={AB000000} Motion={Default=x0} "
            "ViolationTimeMs={Default=q10 Minimum=q0 Maximum=q100} Name={Default='def'} "
            "Type={Values={='red' ='green'} Default='green'} EventTime={Default=t8} "
            "Configs={Default={}} Figures={Default={}} Masks={Default={=,1,2}} Points={} "
            "Point={X={Default=i3} Y={Default=i0}}");
  CDataFairyBase nothing;
  EXPECT_EQ(Dump(AlarmConfig<CPoint>().ToCData({})), "Config={X=i3 Y=i0}");

  const CEnumeration<Color> nameless(nothing, Tok::Type, 1, Color(9), {{1, "red", true}});
  testing::internal::CaptureStderr();
  EXPECT_EQ(Dump(nothing.ToCDataFull({})), "Type='' Options={Type={Values={='red'} Default=''}}");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "------------> ASSERTION FAILED at main/lib/base/fairy/fairy_enum:169 : false is "
            "false!\n");
}

TEST(Fairy, TimesAreThoseOfTheCalendar) {
  using namespace std::chrono;
  std::uint64_t got = 5;
  for (const char* text : {"2024-02-29T00:00:00", "2024-02-29T00:00:00Z ", "2024-2-29T00:00:000Z",
                           "2024-02-29 00:00:00Z", "2024-02-29T00:00: 0Z", "2024-02-29T24:00:00Z",
                           "2024-02-29T00:60:00Z", "2024-02-29T00:00:61Z"})
    EXPECT_FALSE(CTUTCTime::Parse(text, got)) << text;
  EXPECT_EQ(got, 5U);
  for (int i = 0; i < 8420 * 14 * 7; ++i) {
    constexpr unsigned edges[] = {0, 1, 28, 29, 30, 31, 32};
    const unsigned m = i % 14, d = edges[i / 14 % 7];
    const int y = 1590 + i / 98;
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT23:59:60Z", y, m, d);
    const year_month_day date = year(y) / month(m) / day(d);
    const bool expected = date.ok() && y >= 1601 && y <= 9999;
    ASSERT_EQ(CTUTCTime::Parse(text, got), expected) << text;
    const milliseconds since = sys_days(date) - sys_days(year(1601) / 1 / 1) + days(1);
    ASSERT_TRUE(!expected || got == static_cast<std::uint64_t>(since.count())) << text;
  }
}

}  // namespace
