#include "client/demo/page_template.h"

#include "client/text.h"

#include <map>
#include <vector>

namespace {

class CPageFiller {
 public:
  explicit CPageFiller(const Json& values) : scopes{&values} {}

  void Fill(std::string_view text) {
    for (std::size_t at; (at = text.find("{{")) != text.npos;) {
      filled += text.substr(0, at);
      text.remove_prefix(at + 2);
      const std::string_view tag = Take(text, "}}");
      switch (const std::string name(tag.substr(1)); tag.front()) {
        case '#':
          Repeat(ValueOf(name), TakeBlock(text, name));
          break;
        case '<':
          parts[name] = TakeBlock(text, name);
          break;
        case '>':
          Fill(parts.at(name));
          break;
        default:
          filled += ValueOf(std::string(tag)).get_ref<const std::string&>();
      }
    }
    filled += text;
  }

  std::string filled;

 private:
  // What comes before `end`; both leave the text.
  static std::string_view Take(std::string_view& text, std::string_view end) {
    const std::size_t size = text.find(end);
    if (size == text.npos) throw CError("a page without " + std::string(end));
    const std::string_view taken = text.substr(0, size);
    text.remove_prefix(size + end.size());
    return taken;
  }
  static std::string_view TakeBlock(std::string_view& text, const std::string& name) {
    return Take(text, "{{/" + name + "}}");
  }

  [[nodiscard]] const Json& ValueOf(const std::string& name) const {
    for (auto scope = scopes.rbegin(); scope != scopes.rend(); ++scope)
      if (const auto found = (*scope)->find(name); found != (*scope)->end()) return *found;
    throw CError("a page without a value for " + name);
  }

  void Repeat(const Json& value, std::string_view block) {
    if (value.is_array())
      for (const Json& each : value)
        FillWith(each, block);
    else if (value.is_object() || value == true)
      FillWith(value, block);
  }
  void FillWith(const Json& value, std::string_view block) {
    scopes.push_back(&value);
    Fill(block);
    scopes.pop_back();
  }

  std::vector<const Json*> scopes;  // the innermost last
  std::map<std::string, std::string_view> parts;
};

}  // namespace

std::string FillPage(std::string_view page, const Json& values) {
  CPageFiller filler(values);
  filler.Fill(page);
  return std::move(filler.filled);
}
