#include "client/tree_json.h"

#include "client/text.h"
#include "ztlib.hpp"

#include <algorithm>
#include <bit>
#include <cinttypes>
#include <cmath>
#include <limits>
#include <unordered_set>

namespace {

using Bytes = std::span<const std::uint8_t>;

std::string_view TextOf(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string HexOf(Bytes bytes) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string hex;
  hex.reserve(2 * bytes.size());
  for (const std::uint8_t byte : bytes) {
    hex += digits[byte >> 4];
    hex += digits[byte & 15];
  }
  return hex;
}

// The characters of a text; nothing if it is not UTF-8.
std::optional<std::u32string> FromUtf8(std::string_view text) {
  std::u32string characters;
  for (std::size_t at = 0; at < text.size();) {
    const auto first = static_cast<std::uint8_t>(text[at++]);
    const int more = first < 0x80 ? 0 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    if ((first >= 0x80 && first < 0xC2) || first > 0xF4 ||
        text.size() - at < static_cast<std::size_t>(more))
      return std::nullopt;
    char32_t character = more == 0 ? first : first & (0x3FU >> more);
    for (int i = 0; i < more; ++i) {
      const auto next = static_cast<std::uint8_t>(text[at++]);
      if ((next & 0xC0) != 0x80) return std::nullopt;
      character = character << 6 | (next & 0x3F);
    }
    const bool isTooLong = more > 1 && character < (more == 2 ? 0x800U : 0x10000U);
    if (isTooLong || character > 0x10FFFF || (character >= 0xD800 && character < 0xE000))
      return std::nullopt;
    characters += character;
  }
  return characters;
}

std::u16string ToUtf16(const std::u32string& characters) {
  std::u16string units;
  for (const char32_t character : characters)
    if (character < 0x10000) {
      units += static_cast<char16_t>(character);
    } else {
      units += static_cast<char16_t>(0xD7C0 + (character >> 10));
      units += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    }
  return units;
}

std::string ToUtf8(const std::u16string& units) {
  std::string text;
  for (std::size_t i = 0; i < units.size(); ++i) {
    char32_t character = units[i];
    if (character >= 0xD800 && character < 0xDC00 && i + 1 < units.size() &&
        (units[i + 1] & 0xFC00) == 0xDC00)
      character = 0x10000 + ((character & 0x3FF) << 10) + (units[++i] & 0x3FFU);
    const int more = character < 0x80 ? 0 : character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    constexpr std::uint8_t heads[] = {0, 0xC0, 0xE0, 0xF0};
    text += static_cast<char>(heads[more] | character >> 6 * more);
    for (int i6 = more - 1; i6 >= 0; --i6)
      text += static_cast<char>(0x80 | (character >> 6 * i6 & 0x3F));
  }
  return text;
}

Json StringJson(Bytes bytes) {
  const std::string_view text = TextOf(bytes);
  return FromUtf8(text) ? Json(text) : Json{{"$string", HexOf(bytes)}};
}

// Text where the units are one; otherwise their numbers.
Json WideJson(Bytes bytes) {
  std::u16string units;
  for (std::size_t i = 0; i < bytes.size(); i += 2)
    units += static_cast<char16_t>(ztlib::LittleEndian(bytes.subspan(i, 2)));
  std::string text = ToUtf8(units);
  if (FromUtf8(text)) return {{"$wide", std::move(text)}};
  return {{"$wide", std::vector<std::uint16_t>(units.begin(), units.end())}};
}

Json ShortsJson(Bytes bytes) {
  Json numbers = Json::array();
  for (std::size_t i = 0; i < bytes.size(); i += 2)
    numbers.push_back(static_cast<std::int16_t>(ztlib::LittleEndian(bytes.subspan(i, 2))));
  // Without a number it would pass for a node.
  return bytes.empty() ? Json{{"$shorts", std::move(numbers)}} : numbers;
}

// Programs that rewrite JSON drop the point of a whole number, which would then be an int.
Json DoubleJson(double value, std::uint64_t bits) {
  if (!std::isfinite(value)) return {{"$double", Text("%016" PRIx64, bits)}};
  return value == std::trunc(value) ? Json{{"$double", value}} : Json(value);
}

Json BinaryJson(const ztlib::TreeElement& element) {
  Json json{{"$binary", HexOf(element.value)}};
  if (element.metadata.size() > 1) json["$metadata"] = HexOf(element.metadata);
  return json;
}

class CTreeMaker {
 public:
  CTreeMaker(Bytes block, std::optional<std::size_t>& damageOffset)
      : start(block.data()), damage(damageOffset) {}

  Json Node(Bytes node, int depth) {
    std::vector<std::pair<std::string_view, Json>> elements;
    ztlib::TreeReader reader(node);
    while (const std::optional<ztlib::TreeElement> element = reader.Next()) {
      if (element->tag == '@' && depth == ztlib::maxTreeDepth) {
        Note(element->value);
        break;
      }
      elements.emplace_back(element->name, Value(*element, depth));
    }
    if (reader.IsDamaged()) Note(reader.Rest());
    return Shaped(std::move(elements));
  }

 private:
  void Note(Bytes place) {
    if (!damage) damage = static_cast<std::size_t>(place.data() - start);
  }

  Json Value(const ztlib::TreeElement& element, int depth) {
    const std::uint64_t number = element.value.size() <= 8 ? ztlib::LittleEndian(element.value) : 0;
    switch (element.tag) {
      case 'B':
        return number < 2 ? Json(number == 1) : Json{{"$bool", number}};
      case '1':
        return {{"$byte", number}};
      case '2':
        return {{"$short", static_cast<std::int16_t>(number)}};
      case 'I':
        return static_cast<std::int32_t>(number);
      case 'Q':
        return {{"$long", static_cast<std::int64_t>(number)}};
      case 'F':
        return DoubleJson(element.Double(), number);
      case 'S':
        return StringJson(element.value);
      case 'W':
        return WideJson(element.value);
      case '*':
        return element.subtype == '2' ? ShortsJson(element.value)
                                      : Json{{"$bytes", HexOf(element.value)}};
      case 'G':
        return {{"$guid", HexOf(element.value)}};
      case 'T':
        return {{"$time", number}};
      case 'X':
        return BinaryJson(element);
      default:
        return Node(element.value, depth + 1);
    }
  }

  // An object where every element has a name of its own, an array where none has one.
  static Json Shaped(std::vector<std::pair<std::string_view, Json>>&& elements) {
    std::unordered_set<std::string_view> names;
    bool isArray = true, isObject = true, isNumbers = !elements.empty();
    for (const auto& [name, value] : elements) {
      isArray = isArray && name.empty();
      isNumbers = isNumbers && value.is_number_integer();
      isObject = isObject && !name.empty() && name[0] != '$' && names.insert(name).second &&
                 FromUtf8(name);
    }
    if (isObject) {
      Json::object_t object;
      object.reserve(elements.size());
      for (auto& [name, value] : elements)
        object.emplace_back(std::string(name), std::move(value));
      return Json(std::move(object));
    }
    Json list = Json::array();
    const bool isPlain = isArray && !isNumbers;
    for (auto& [name, value] : elements)
      if (isPlain)
        list.push_back(std::move(value));
      else
        list.push_back(Json::array(
            {StringJson({reinterpret_cast<const std::uint8_t*>(name.data()), name.size()}),
             std::move(value)}));
    return isPlain ? list : Json{{"$node", std::move(list)}};
  }

  const std::uint8_t* start;
  std::optional<std::size_t>& damage;
};

// A number as blocks hold it, in that many bytes.
std::string NumberBytes(std::uint64_t value, int size) {
  std::string bytes;
  ztlib::TreeWriter::Append(bytes, value, size);
  return bytes;
}

class CBlockMaker {
 public:
  explicit CBlockMaker(const std::string& treeName) : file(treeName) {}

  ztlib::TreeWriter Root(const Json& json) {
    const bool isNode = json.is_array() ? !IsNumbers(json) : json.is_object() && !Word(json);
    if (!isNode && !(Word(json) && json.begin().key() == "$node")) Fail("is no node");
    return Node(json);
  }

 private:
  [[noreturn]] void Fail(const std::string& text) const {
    throw CError(file + ": " + (place.empty() ? "the whole" : place) + " " + text);
  }

  // Values of a place of their own; `part` is put behind the place for messages.
  template <class Work>
  void Inside(const std::string& part, Work&& work) {
    const std::size_t length = place.size();
    place += "/" + part;
    work();
    place.resize(length);
  }

  static bool IsNumbers(const Json& json) {
    return json.is_array() && !json.empty() &&
           std::all_of(json.begin(), json.end(),
                       [](const Json& value) { return value.is_number_integer(); });
  }
  // The key that tells the kind of a value.
  static bool Word(const Json& json) {
    return json.is_object() && !json.empty() && json.begin().key().starts_with('$');
  }

  ztlib::TreeWriter Node(const Json& json) {
    if (++depth > ztlib::maxTreeDepth + 1)
      Fail(Text("is nested deeper than %d levels", ztlib::maxTreeDepth));
    ztlib::TreeWriter node;
    if (Word(json)) {
      const Json& list = json.begin().value();
      if (!list.is_array()) Fail("is no list of names and values");
      for (std::size_t i = 0; i < list.size(); ++i)
        Inside(Text("%zu", i), [&] {
          if (!list[i].is_array() || list[i].size() != 2) Fail("is no pair of name and value");
          Element(node, String(list[i][0]), list[i][1]);
        });
    } else if (json.is_array()) {
      for (std::size_t i = 0; i < json.size(); ++i)
        Inside(Text("%zu", i), [&] { Element(node, {}, json[i]); });
    } else {
      for (auto it = json.begin(); it != json.end(); ++it)
        Inside(it.key(), [&] { Element(node, it.key(), *it); });
    }
    --depth;
    return node;
  }

  void Element(ztlib::TreeWriter& node, const std::string& name, const Json& value) {
    if (name.size() > ztlib::TreeWriter::maxNameSize)
      Fail(Text("has a name longer than %zu bytes", ztlib::TreeWriter::maxNameSize));
    if (Word(value))
      Special(node, name, value);
    else if (value.is_boolean())
      node.Bool(name, value.get<bool>());
    else if (value.is_number_integer())
      node.Int(name, Integer<std::int32_t>(value));
    else if (value.is_number_float())
      node.Double(name, value.get<double>());
    else if (value.is_string())
      node.Text(name, value.get_ref<const std::string&>());
    else if (IsNumbers(value))
      node.Raw('*', name, Numbers("2", value));
    else if (value.is_structured())
      node.Child(name, Node(value));
    else
      Fail("has no kind");
  }

  void Special(ztlib::TreeWriter& node, const std::string& name, const Json& json) {
    const std::string& word = json.begin().key();
    const Json& value = json.begin().value();
    if (json.size() > 1 && !(word == "$binary" && json.size() == 2 && json.contains("$metadata")))
      Fail("has more than one kind");
    const auto number = [&]<class T>(char tag, T) {
      node.Raw(tag, name, NumberBytes(static_cast<std::uint64_t>(Integer<T>(value)), sizeof(T)));
    };
    if (word == "$node")
      node.Child(name, Node(json));
    else if (word == "$bool")
      number('B', std::uint8_t{});
    else if (word == "$byte")
      number('1', std::uint8_t{});
    else if (word == "$short")
      number('2', std::int16_t{});
    else if (word == "$long")
      number('Q', std::int64_t{});
    else if (word == "$time")
      number('T', std::uint64_t{});
    else if (word == "$double")
      Double(node, name, value);
    else if (word == "$string")
      node.Raw('S', name, Unhexed(value));
    else if (word == "$wide")
      node.Raw('W', name, value.is_string() ? Wide(value) : Numbers<std::uint16_t>("", value));
    else if (word == "$shorts")
      node.Raw('*', name, Numbers("2", value));
    else if (word == "$bytes")
      node.Raw('*', name, "1" + Unhexed(value));
    else if (word == "$guid")
      node.Raw('G', name, Unhexed(value, 16));
    else if (word == "$binary")
      node.Raw('X', name, Metadata(json) + Unhexed(value));
    else
      Fail("has the unknown kind " + word);
  }

  template <class T>
  T Integer(const Json& value) const {
    if (!value.is_number_integer()) Fail("is no integer");
    const bool fits = value.is_number_unsigned() ? std::in_range<T>(value.get<std::uint64_t>())
                                                 : std::in_range<T>(value.get<std::int64_t>());
    if (!fits)
      Fail(Text("does not fit into %d bits",
                std::numeric_limits<T>::digits + (std::numeric_limits<T>::is_signed ? 1 : 0)));
    return value.get<T>();
  }

  template <class T = std::int16_t>
  std::string Numbers(std::string bytes, const Json& list) const {
    if (!list.is_array()) Fail("is no list of numbers");
    for (const Json& value : list)
      ztlib::TreeWriter::Append(bytes, static_cast<std::uint16_t>(Integer<T>(value)), 2);
    return bytes;
  }

  // A name or the content of a string.
  std::string String(const Json& value) const {
    if (Word(value) && value.begin().key() == "$string") return Unhexed(value.begin().value());
    if (!value.is_string()) Fail("has a name that is no text");
    return value.get<std::string>();
  }

  static std::string Wide(const Json& value) {
    std::string bytes;
    // JSON texts are UTF-8.
    for (const char16_t unit : ToUtf16(FromUtf8(value.get_ref<const std::string&>()).value()))
      ztlib::TreeWriter::Append(bytes, unit, 2);
    return bytes;
  }

  void Double(ztlib::TreeWriter& node, const std::string& name, const Json& value) const {
    if (value.is_number()) {
      node.Double(name, value.get<double>());
      return;
    }
    std::string bytes = Unhexed(value, 8);
    std::reverse(bytes.begin(), bytes.end());
    node.Raw('F', name, bytes);
  }

  std::string Metadata(const Json& json) const {
    return json.size() == 2 ? Unhexed(json["$metadata"]) : std::string(1, '\0');
  }

  std::string Unhexed(const Json& value, std::size_t size = 0) const {
    const std::string hex = value.is_string() ? value.get<std::string>() : "?";
    if (hex.size() % 2 != 0 || hex.find_first_not_of("0123456789abcdefABCDEF") != hex.npos ||
        (size > 0 && hex.size() != 2 * size))
      Fail(size > 0 ? Text("is not %zu bytes in hexadecimal digits", size)
                    : "is not bytes in hexadecimal digits");
    const auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
    std::string bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2)
      bytes += static_cast<char>(digit(hex[i]) << 4 | digit(hex[i + 1]));
    return bytes;
  }

  std::string file, place;
  int depth = 0;
};

void AddPretty(const Json& json, const std::string& indent, std::string& text) {
  const bool isFlat = std::none_of(json.begin(), json.end(),
                                   [](const Json& value) { return value.is_structured(); });
  if (!json.is_structured() || json.empty() || (isFlat && json.is_array()) ||
      (isFlat && json.size() == 1 && json.begin().key().starts_with('$'))) {
    text += json.dump();
    return;
  }
  const std::string inner = indent + "  ";
  text += json.is_array() ? "[" : "{";
  const char* separator = "\n";
  for (auto it = json.begin(); it != json.end(); ++it) {
    text += separator + inner;
    if (json.is_object()) text += Json(it.key()).dump() + ": ";
    AddPretty(*it, inner, text);
    separator = ",\n";
  }
  text += "\n" + indent + (json.is_array() ? "]" : "}");
}

}  // namespace

Json TreeOf(Bytes block, std::optional<std::size_t>& damage) {
  return CTreeMaker(block, damage).Node(block, 0);
}

ztlib::TreeWriter BlockOf(const Json& tree, const std::string& name) {
  return CBlockMaker(name).Root(tree);
}

Json ParseJson(std::string_view text, const std::string& name) {
  try {
    return Json::parse(text);
  } catch (const nlohmann::json::exception& error) {
    throw CError(name + ": no JSON: " + error.what());
  }
}

std::string PrettyText(const Json& json) {
  std::string text;
  AddPretty(json, "", text);
  return text;
}
