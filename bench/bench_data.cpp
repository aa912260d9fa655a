#include "bench_data.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace quilby_bench {

namespace {

constexpr const char* kSampleNames[] = {"canada", "citm_catalog", "twitter"};

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

bool readFile(const std::string& path, std::string& text, std::string& error) {
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    error = std::strerror(errno);
    return false;
  }
  if (std::fseek(file.get(), 0, SEEK_END) != 0) {
    error = std::strerror(errno);
    return false;
  }
  const long size = std::ftell(file.get());
  if (size < 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) {
    error = std::strerror(errno);
    return false;
  }
  const auto length = static_cast<std::size_t>(size);
  // Reserve first: resize within the capacity keeps the padding simdjson relies on.
  text.reserve(length + kTextPadding);
  text.resize(length);
  if (length != 0 && std::fread(text.data(), 1, length, file.get()) != length) {
    error = "short read";
    return false;
  }
  if (length == 0) {
    error = "the file is empty";
    return false;
  }
  return true;
}

}  // namespace

std::string dataDirectory() {
  const char* fromEnvironment = std::getenv("QUILBY_BENCH_DATA");
  if (fromEnvironment != nullptr && *fromEnvironment != '\0') return fromEnvironment;
  return QUILBY_BENCH_DATA_DIR;
}

bool loadSamples(std::vector<Sample>& samples, std::string& error) {
  const std::string directory = dataDirectory();
  samples.clear();
  for (const char* name : kSampleNames) {
    Sample sample;
    sample.name = name;
    sample.path = directory + "/" + name + ".json";
    std::string reason;
    if (!readFile(sample.path, sample.text, reason)) {
      error = "cannot read data file " + sample.path + ": " + reason +
              "\n  set QUILBY_BENCH_DATA to the directory holding canada.json, citm_catalog.json"
              " and twitter.json";
      return false;
    }
    samples.push_back(std::move(sample));
  }
  return true;
}

}  // namespace quilby_bench
