// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/dispatch/standard_output.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vrel::system {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

std::vector<std::string> linesOf(std::FILE* file) {
  std::rewind(file);
  std::vector<std::string> lines(1);
  for (int character = std::fgetc(file); character != EOF; character = std::fgetc(file)) {
    if (character == '\n') {
      lines.emplace_back();
    } else {
      lines.back() += static_cast<char>(character);
    }
  }
  EXPECT_EQ(lines.back(), "");  // the last line has its end too
  lines.pop_back();
  return lines;
}

TEST(StandardOutput, ALineIsWrittenAsItIs) {
  const File file(std::tmpfile());
  StandardOutput output(file.get());
  output.print("Loaded 100% of %s");
  output.print("");
  output.print("Ñandú");
  EXPECT_EQ(linesOf(file.get()), (std::vector<std::string>{"Loaded 100% of %s", "", "Ñandú"}));
}

TEST(StandardOutput, LinesOfSeveralThreadsDoNotMix) {
  const File file(std::tmpfile());
  StandardOutput output(file.get());
  const std::array<std::string, 3> texts = {std::string(200, 'a'), std::string(300, 'b'), std::string(400, 'c')};
  std::vector<std::thread> writers;
  for (const auto& text : texts) {
    writers.emplace_back([&output, &text] {
      for (int count = 0; count < 50; ++count) {
        output.print(text);
      }
    });
  }
  for (auto& writer : writers) {
    writer.join();
  }
  std::map<std::string, int> counts;
  for (const auto& line : linesOf(file.get())) {
    ++counts[line];
  }
  EXPECT_EQ(counts, (std::map<std::string, int>{{texts[0], 50}, {texts[1], 50}, {texts[2], 50}}));
}

}  // namespace
}  // namespace vrel::system
