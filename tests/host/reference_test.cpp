// The reference beside what transcripts show, and mistakes in its texts.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>

#include <gtest/gtest.h>

#include "host/reference.h"
#include "support/world.h"

namespace {

TEST(ReferenceTexts, TellOfEveryErrorThatTranscriptsShow) {
  const orbhost::Reference &reference = orbhost::Reference::built_in();
  const std::regex shown(R"(call (\w+)\b.*-> \S+ (\d{3})\b.*)");
  int errors = 0;
  for (const auto &file : std::filesystem::directory_iterator(tests_folder("transcripts"))) {
    std::ifstream lines(file.path());
    std::smatch call;
    for (std::string line; std::getline(lines, line);) {
      if (!std::regex_match(line, call, shown)) continue;
      const orbhost::ReferencePlace *place = reference.find(call[1].str());
      ASSERT_TRUE(place) << line;
      EXPECT_TRUE(std::ranges::count(place->entry->reports, std::stoi(call[2]),
                                     &orbhost::ReferenceReport::number))
          << file.path().filename() << ": " << line;
      ++errors;
    }
  }
  EXPECT_GT(errors, 200);
}

TEST(ReferenceTexts, NameTheLineOfAMistake) {
  const char *const rows[][2] = {
      {"map_put\n", "x.md:1: a title is missing: # Family"},
      {"# X\n\n## a\n\n    b(c)\n\nDoes it.\n", "x.md:5: a form looks like a(x, y) -> ok"},
      {"# X\n\n## a\n\n    a(c -> d\n\nDoes it.\n", "x.md:5: a form looks like a(x, y) -> ok"},
      {"# X\n\n## a\n\n    a(c)\n", "x.md:3: a doesn't say what it is for"},
      {"# X\n\n## a\n\nDoes it.\n\nReports:\n\n- `b`: no\n",
       "x.md:9: a report looks like - 121 `graph`: no such graph"},
      {"# X\n\n## a\n\nDoes it.\n\nKeywords of `b`: c.\n",
       "x.md:7: b has keywords, but isn't described here"},
      {"# X\n\n## a\n\nDoes it.\n\n```lua\nb()\n", "x.md:7: this block doesn't end"},
      {"# X\n\n## a\n\nDoes it.\n\n## a\n\nAgain.\n", "x.md:7: a is described twice"}};
  for (const auto &[text, mistake] : rows) {
    try {
      orbhost::Reference({orbhost::parse_reference("x.md", text)});
      ADD_FAILURE() << text;
    } catch (const orbhost::ReferenceError &error) {
      EXPECT_STREQ(error.what(), mistake);
    }
  }
}

} // namespace
