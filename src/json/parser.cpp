#include "json/parser.h"

#include "json/locale_decimal_point.h"

#include <charconv>
#include <memory>
#include <mutex>
#include <cstdlib>
#include <system_error>

namespace cairnjson {
namespace detail {

template class ParseEngine<const char*>;

namespace {

// Stacks that grew beyond this many bytes are given back after the parse.
constexpr std::size_t kRetainedScratchBytes = 1 << 20;

// Idle working stacks, kept for the next parse on any thread. A process-wide pool rather than
// one set per thread: a thread-local object with a destructor would keep the library loaded
// until its thread ends, so a host could never unload the plug-in.
class ScratchPool {
 public:
  std::unique_ptr<ParseScratch> take() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (idle_.empty()) return nullptr;
    std::unique_ptr<ParseScratch> scratch = std::move(idle_.back());
    idle_.pop_back();
    return scratch;
  }

  void give(std::unique_ptr<ParseScratch> scratch) {
    const std::lock_guard<std::mutex> lock(mutex_);
    idle_.push_back(std::move(scratch));
  }

 private:
  std::mutex mutex_;
  std::vector<std::unique_ptr<ParseScratch>> idle_;
};

ScratchPool& scratchPool() {
  static ScratchPool pool;
  return pool;
}

template <class T>
void emptyKeepingSmallCapacity(std::vector<T>& items) {
  items.clear();
  if (items.capacity() * sizeof(T) > kRetainedScratchBytes) std::vector<T>().swap(items);
}

}  // namespace

ScratchLease::ScratchLease() : scratch_(scratchPool().take()) {
  if (!scratch_) scratch_ = std::make_unique<ParseScratch>();
}

ScratchLease::~ScratchLease() {
  try {
    emptyKeepingSmallCapacity(scratch_->frames);
    emptyKeepingSmallCapacity(scratch_->values);
    emptyKeepingSmallCapacity(scratch_->keys);
    scratchPool().give(std::move(scratch_));
  } catch (...) {
    // Out of memory for the pool's list: the stacks are simply freed.
  }
}

void appendUtf8(std::string& out, std::uint32_t codePoint) {
  if (codePoint < 0x80) {
    out.push_back(static_cast<char>(codePoint));
  } else if (codePoint < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (codePoint >> 6)));
    out.push_back(static_cast<char>(0x80 | (codePoint & 0x3F)));
  } else if (codePoint < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (codePoint >> 12)));
    out.push_back(static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (codePoint & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (codePoint >> 18)));
    out.push_back(static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (codePoint & 0x3F)));
  }
}

bool convertDoubleText(std::string& text, bool zeroExponent, double& result) {
  const DecimalPoint point = localeDecimalPoint();
  if (point.plain) {
    // With a plain one-byte decimal point strtod reads the text exactly as the C locale does, and
    // std::from_chars gives the same correctly rounded value much faster. Out-of-range texts are
    // left to strtod, which answers them with an infinity or a zero.
    const char* end = text.data() + text.size();
    const auto converted = std::from_chars(text.data(), end, result);
    if (converted.ec == std::errc() && converted.ptr == end) return true;
  }
  if (zeroExponent) text.resize(text.find('e'));
  const std::size_t dot = text.find('.');
  if (dot != std::string::npos) text[dot] = point.first;
  const char* begin = text.c_str();
  char* end = nullptr;
  result = std::strtod(begin, &end);
  return end == begin + text.size();
}

bool convertDoubleRange(const char* begin, const char* end, std::string& scratch, double& result) {
  if (localeDecimalPoint().plain) {
    // from_chars reads "E" and an exponent "+" as the normalised text would have them.
    const auto converted = std::from_chars(begin, end, result);
    if (converted.ec == std::errc() && converted.ptr == end) return true;
  }
  scratch.clear();
  bool zeroExponent = true;
  bool inExponent = false;
  for (const char* c = begin; c != end; ++c) {
    if (*c == 'e' || *c == 'E') {
      inExponent = true;
      scratch.push_back('e');
    } else if (*c != '+') {
      if (inExponent && *c >= '1' && *c <= '9') zeroExponent = false;
      scratch.push_back(*c);
    }
  }
  return convertDoubleText(scratch, inExponent && zeroExponent, result);
}

}  // namespace detail

namespace {

template <class It>
void skipByteOrderMark(It& current, const It& end) {
  // Each byte of the mark is dropped only after the ones before it, so a cut-off mark goes too.
  if (current == end || static_cast<unsigned char>(*current) != 0xEF) return;
  ++current;
  if (current == end || static_cast<unsigned char>(*current) != 0xBB) return;
  ++current;
  if (current == end || static_cast<unsigned char>(*current) != 0xBF) return;
  ++current;
}

}  // namespace

template <class It>
bool Parser::parseText(It begin, It end, Value* out, AbstractParseHandler* handler,
                       const ParseOption& option) {
  Iterator<It> it{begin, end};
  skipByteOrderMark(it.current, it.end);
  if (!parse_value(out, handler, it, option)) return false;
  if (option.has(ParseOption::kAllowTrailingText)) return true;
  skip_white_space(it);
  if (!it.atEnd() && *it.current != '\0') {
    error_ = detail::parse_error::kTrailingText;
    return false;
  }
  return true;
}

bool Parser::parse(const std::string& text, Value& out, const ParseOption& option) {
  return parseText(text.data(), text.data() + text.size(), &out, nullptr, option);
}

bool Parser::parse(const char* begin, const char* end, Value& out, const ParseOption& option) {
  return parseText(begin, end, &out, nullptr, option);
}

bool Parser::parse(const std::string& text, AbstractParseHandler& handler,
                   const ParseOption& option) {
  return parseText(text.data(), text.data() + text.size(), nullptr, &handler, option);
}

bool Parser::parse(const char* begin, const char* end, AbstractParseHandler& handler,
                   const ParseOption& option) {
  return parseText(begin, end, nullptr, &handler, option);
}

}  // namespace cairnjson
