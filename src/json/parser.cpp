#include "json/parser.h"

#include "json/locale_decimal_point.h"

#include <charconv>
#include <cstdlib>
#include <system_error>

namespace cairnjson {
namespace detail {

template class ParseEngine<const char*>;

namespace {

// Stacks that grew beyond this many bytes are given back after the parse.
constexpr std::size_t kRetainedScratchBytes = 1 << 20;

struct ThreadScratch {
  ParseScratch scratch;
  bool lent = false;
};

thread_local ThreadScratch threadScratch;

template <class T>
void emptyKeepingSmallCapacity(std::vector<T>& items) {
  items.clear();
  if (items.capacity() * sizeof(T) > kRetainedScratchBytes) std::vector<T>().swap(items);
}

}  // namespace

ScratchLease::ScratchLease() : shared_(threadScratch.lent ? nullptr : &threadScratch.scratch) {
  if (shared_) threadScratch.lent = true;
}

ScratchLease::~ScratchLease() {
  if (!shared_) return;
  emptyKeepingSmallCapacity(shared_->frames);
  emptyKeepingSmallCapacity(shared_->values);
  emptyKeepingSmallCapacity(shared_->keys);
  threadScratch.lent = false;
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

}  // namespace cairnjson
