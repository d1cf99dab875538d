#include "client/commands.h"
#include "client/console.h"
#include "client/text.h"
#include "client/tree_json.h"
#include "client/whole_file.h"

#include <memory>

namespace {

struct CTreeOptions {
  std::string input;
  bool isCompact = false;
};

int Tree(const CTreeOptions& options) {
  const std::string file = ReadWholeFile(options.input);
  // No block begins like a JSON text: neither its tags nor its end are such bytes.
  const std::size_t start = file.find_first_not_of(" \t\r\n");
  if (start != file.npos && (file[start] == '{' || file[start] == '[')) {
    const ztlib::TreeWriter block = BlockOf(ParseJson(file, options.input), options.input);
    Print(Output(), {block.Bytes().begin(), block.Bytes().end()});
    return 0;
  }
  std::optional<std::size_t> damage;
  const Json tree =
      TreeOf({reinterpret_cast<const std::uint8_t*>(file.data()), file.size()}, damage);
  Print(Output(), (options.isCompact ? tree.dump() : PrettyText(tree)) + "\n");
  if (!damage) return 0;
  Complain(options.input + Text(": offset %zu: no element of a tree", *damage));
  return 1;
}

}  // namespace

CCommand TreeCommand() {
  const auto options = std::make_shared<CTreeOptions>();
  return {.name = "tree",
          .help = "Turn a tagged block into JSON and JSON into a tagged block",
          .options = {{.name = "input",
                       .value = &options->input,
                       .help = "A tagged block, or a tree as JSON",
                       .isRequired = true},
                      {.name = "--json",
                       .value = &options->isCompact,
                       .help = "For programs: JSON on one line"}},
          .run = [=] { return Tree(*options); }};
}
