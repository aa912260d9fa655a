// What a shared library shows the dynamic loader, as binutils reads it: the symbols it defines or
// needs.
#ifndef QUILBY_TESTS_SUPPORT_DYNAMIC_SYMBOLS_H
#define QUILBY_TESTS_SUPPORT_DYNAMIC_SYMBOLS_H

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <sstream>
#include <string>

namespace quilby_test {

// The output of `command`; the test fails when it cannot be run or fails.
inline std::string outputOf(const std::string& command) {
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) {
    ADD_FAILURE() << "cannot run " << command;
    return output;
  }
  char buffer[4096];
  while (const std::size_t count = fread(buffer, 1, sizeof buffer, pipe)) output.append(buffer, count);
  EXPECT_EQ(pclose(pipe), 0) << command;
  return output;
}

// The names of the dynamic symbols of `library` that `nm -D` lists with `filter`
// ("--defined-only", "--undefined-only"), without their versions.
inline std::set<std::string> dynamicSymbols(const std::string& library, const std::string& filter) {
  std::istringstream lines(outputOf("nm -D " + filter + " " + library));
  std::set<std::string> names;
  for (std::string line; std::getline(lines, line);) {
    const std::string name = line.substr(line.find_last_of(' ') + 1);
    names.insert(name.substr(0, name.find('@')));
  }
  return names;
}

}  // namespace quilby_test

#endif  // QUILBY_TESTS_SUPPORT_DYNAMIC_SYMBOLS_H
