#include "client/demo/page_template.h"

#include "client/text.h"

#include <gtest/gtest.h>

namespace {

TEST(PageTemplate, BlocksRepeatAndNamesReachOutwards) {
  const Json values{{"a", "1"},
                    {"list", {{{"a", "2"}}, {{"b", "3"}}}},
                    {"one", {{"b", "4"}}},
                    {"none", Json::array()},
                    {"null", nullptr},
                    {"yes", true},
                    {"no", false}};
  EXPECT_EQ(FillPage("{{<x}}[{{a}}]{{/x}}{{a}} {{#list}}{{>x}}{{/list}} {{#one}}{{>x}}{{b}}{{/one}}"
                     "{{#none}}n{{/none}}{{#null}}n{{/null}}{{#yes}}y{{/yes}}{{#no}}n{{/no}}\n",
                     values),
            "1 [2][1] [1]4y\n");
  for (const char* page : {"{{b}}", "{{#list}}{{c}}{{/list}}", "{{a", "{{#yes}}"})
    EXPECT_THROW(static_cast<void>(FillPage(page, values)), CError) << page;
}

}  // namespace
