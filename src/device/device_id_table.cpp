#include "device/device_id_table.h"

#include "bridge/library_path.h"
#include "json/cairnjson.h"
#include "quilby/host.h"
#include "quilby/measurement_device.h"
#include "util/file_operations.h"

#include <algorithm>
#include <string>

namespace vesk::device {

namespace {

// The file's text: after a complete byte-order mark, up to the first NUL byte.
std::string textOf(const std::vector<std::uint8_t>& bytes) {
  auto begin = bytes.begin();
  // The mark is looked for in the content with a NUL appended, hence the fourth byte.
  if (bytes.size() + 1 >= 4 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF) {
    begin += 3;
  }
  const auto end = std::find(begin, bytes.end(), 0);
  return std::string(begin, end);
}

}  // namespace

std::vector<MDDeviceID> LoadDeviceIDs() {
  fs::Path path(WithoutTrailingSeparator(Plg_GetRegistryHtmlPath()));
  path.appendPathComponent("did.json");
  const std::string text = textOf(fs::bytes_with_contents_of_file(path, nullptr));
  std::vector<MDDeviceID> ids;
  if (text.empty()) return ids;
  cairnjson::ParseOption option;
  option.flags = cairnjson::ParseOption::kAllowTrailingText;
  cairnjson::Parser parser;
  cairnjson::Value list;
  if (!parser.parse(text, list, option) || !list.isArray()) return ids;
  for (const cairnjson::Value& element : list.elements()) {
    // Every rule of the table is the 64-bit conversion followed by truncation to 32 bits.
    ids.push_back(static_cast<MDDeviceID>(static_cast<std::uint64_t>(element.toLLong(0))));
  }
  return ids;
}

bool SupportsSubprocess(const std::vector<MDDeviceID>& ids) {
  const auto count = static_cast<std::uint32_t>(ids.size());
  return MDSupportsSubprocess(ids.empty() ? nullptr : ids.data(), count) != 0;
}

}  // namespace vesk::device
