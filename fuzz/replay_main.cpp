// Runs a fuzz target once over each file named on the command line (or each file of a named
// directory), so the seed corpus is exercised in ordinary builds without libFuzzer.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

int replay(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    std::fprintf(stderr, "replay: cannot read %s\n", file.c_str());
    return 1;
  }
  const std::vector<char> bytes((std::istreambuf_iterator<char>(stream)),
                                std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  int failures = 0;
  int inputs = 0;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path argument(argv[i]);
    if (std::filesystem::is_directory(argument)) {
      for (const auto& entry : std::filesystem::directory_iterator(argument)) {
        if (!entry.is_regular_file()) continue;
        failures += replay(entry.path());
        ++inputs;
      }
    } else {
      failures += replay(argument);
      ++inputs;
    }
  }
  std::printf("replayed %d inputs\n", inputs);
  return failures == 0 && inputs > 0 ? 0 : 1;
}
