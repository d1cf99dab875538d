#pragma once

#include "client/tree_json.h"

#include <string>
#include <string_view>

// Fills a page with values: {{name}} becomes the text of that name. What stands between {{#name}}
// and {{/name}} appears once for each value of a list, once for an object or true, and not at all
// for null, false or an empty list; the names of the present value come before those around it.
// What stands between {{<name}} and {{/name}} appears wherever {{>name}} does. Blocks do not lie in
// blocks of their own name. Texts are put in as they are; throws CError for a name without value.
[[nodiscard]] std::string FillPage(std::string_view page, const Json& values);
