// The reading machinery behind cairnjson::Parser. Internal: include parser.h instead.
//
// Objects and arrays are read with an explicit stack of open containers instead of recursion, so
// the nesting depth of a document is bounded by memory, not by the thread's stack. Elements and
// members of the open containers wait on value and key stacks and become one container each when
// it closes (one allocation for the elements of an array, a hinted insertion per member).
#ifndef CAIRNJSON_PARSE_ENGINE_H
#define CAIRNJSON_PARSE_ENGINE_H

#include "json/locale_decimal_point.h"
#include "json/parse_handler.h"
#include "json/parse_iterator.h"
#include "json/value.h"

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

namespace cairnjson::detail {

enum class ParseStart { Value, Object, Array };

namespace parse_error {
inline constexpr const char* kUnexpectedCharacter = "Unexpected character exists while parsing.";
inline constexpr const char* kInvalidBoolean = "Invalid boolean type string exists.";
inline constexpr const char* kInvalidNull = "Invalid null type string exists.";
inline constexpr const char* kStringNotEnded =
    "Expected string ending character '\"' is not found.";
inline constexpr const char* kUnexpectedEscape =
    "Unexpected escape character is found while parsing string.";
inline constexpr const char* kInvalidHex =
    "Invalid unicode hex string is found while parsing string.";
inline constexpr const char* kInvalidSurrogate =
    "Invalid unicode surrogate pair is found while parsing string.";
inline constexpr const char* kLeadingZero = "Unexpected '0' character is found while parsing number.";
inline constexpr const char* kNoDigit = "Digit is not found while parsing number.";
inline constexpr const char* kNoDigitAfterPoint =
    "Digit is not found after the decimal point while parsing number.";
inline constexpr const char* kNoDigitAfterExponent =
    "Digit is not found after exponent keyword while parsing number.";
inline constexpr const char* kFloatingPoint = "Failed to parse floating point.";
inline constexpr const char* kUnexpectedStringInObject =
    "Unexpected string exists while parsing object.";
inline constexpr const char* kTrailingCommaInObject =
    "Unexpected comma exists while parsing object.";
inline constexpr const char* kUnexpectedStringInArray =
    "Unexpected string exists while parsing array.";
inline constexpr const char* kTrailingCommaInArray = "Unexpected comma exists while parsing array.";
inline constexpr const char* kCanceled = "SAX handler cancels parsing.";
inline constexpr const char* kTrailingText = "Gabage string exists after json string.";
}  // namespace parse_error

[[nodiscard]] inline bool isWhiteSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
[[nodiscard]] inline bool isDigit(char c) { return c >= '0' && c <= '9'; }

template <class It>
void skipWhiteSpace(It& current, const It& end) {
  while (current != end && isWhiteSpace(static_cast<char>(*current))) ++current;
}

// One open object or array.
struct ParseFrame {
  bool object;
  // Its last item is complete, so a comma or the closing bracket comes next.
  bool afterItem;
  // An element or member value has begun and is not stored yet.
  bool awaitingValue;
  // Where its elements (and member keys) start on the value and key stacks.
  std::size_t valueBase;
  std::size_t keyBase;
  // Elements or members stored so far.
  std::size_t count;
};

// The parser's working stacks. Each thread keeps one set between parses, so that the stacks need
// not grow again (and make the allocator reorganise freed memory) for every document.
struct ParseScratch {
  std::vector<ParseFrame> frames;
  std::vector<Value> values;
  std::vector<std::string> keys;
  std::string numberText;
};

// Lends a set of working stacks kept from an earlier parse (or a new one) for one parse, and
// returns it emptied, freeing what an unusually large document made it hold. Every parse has
// its own set, so parses on several threads, and a parse started from inside a parse, never
// share one.
class ScratchLease {
 public:
  ScratchLease();
  ~ScratchLease();
  ScratchLease(const ScratchLease&) = delete;
  ScratchLease& operator=(const ScratchLease&) = delete;

  ParseScratch& get() { return *scratch_; }

 private:
  std::unique_ptr<ParseScratch> scratch_;
};

void appendUtf8(std::string& out, std::uint32_t codePoint);
// Converts number text (sign, digits, ".", "e" and an exponent sign "-") as strtod does once the
// locale's decimal point has replaced the "." and an exponent of value zero has been cut off; the
// whole text must be consumed. `text` may be changed.
[[nodiscard]] bool convertDoubleText(std::string& text, bool zeroExponent, double& result);
// The same for a number token exactly as it stands in the input (the grammar already checked);
// `scratch` receives the number text when the direct conversion does not apply.
[[nodiscard]] bool convertDoubleRange(const char* begin, const char* end, std::string& scratch, double& result);

template <class It>
class ParseEngine {
 public:
  using Iterator = ParseIterator<It>;

  ParseEngine(std::string& error, AbstractParseHandler* handler, Iterator& it,
              const ParseOption& option)
      : error_(error),
        handler_(handler),
        depthAware_(dynamic_cast<DepthAwareParseHandler*>(handler)),
        it_(it),
        option_(option) {}

  [[nodiscard]] bool run(Value* out, ParseStart start) {
    out_ = handler_ ? nullptr : out;
    bool ok = false;
    switch (start) {
      case ParseStart::Value: ok = beginValue(); break;
      case ParseStart::Object: ok = openContainer(true); break;
      case ParseStart::Array: ok = openContainer(false); break;
    }
    while (ok && !frames_.empty()) ok = frames_.back().object ? stepObject() : stepArray();
    if (!ok) unwind();
    return ok;
  }

  [[nodiscard]] bool parseNumber(Value* out) {
    out_ = handler_ ? nullptr : out;
    return readNumber();
  }

  [[nodiscard]] bool parseString(std::string& out) { return readString(out); }

  [[nodiscard]] bool parseHex(unsigned short& out) {
    return readHex(out) || fail(parse_error::kInvalidHex);
  }

 private:
  using Frame = ParseFrame;

  [[nodiscard]] bool atEnd() const { return it_.current == it_.end; }
  char peek() const { return static_cast<char>(*it_.current); }
  void advance() { ++it_.current; }
  void skipWhite() { skipWhiteSpace(it_.current, it_.end); }
  [[nodiscard]] bool fail(const char* message) {
    error_ = message;
    return false;
  }
  // The handler, told the depth of the event about to be sent when it wants to know.
  AbstractParseHandler& events() {
    if (depthAware_) depthAware_->depth_ = frames_.size();
    return *handler_;
  }

  [[nodiscard]] bool allowsTrailingComma() const { return option_.has(ParseOption::kAllowTrailingComma); }

  [[nodiscard]] bool beginValue() {
    skipWhite();
    if (atEnd()) return fail(parse_error::kUnexpectedCharacter);
    const char c = peek();
    switch (c) {
      case '"': {
        std::string text;
        if (!readString(text)) return false;
        if (handler_) return events().onString(text) ? valueStored() : fail(parse_error::kCanceled);
        return store(Value::makeString(std::move(text)));
      }
      case '{': return openContainer(true);
      case '[': return openContainer(false);
      case 't': return readLiteral("rue", parse_error::kInvalidBoolean) && storeBool(true);
      case 'f': return readLiteral("alse", parse_error::kInvalidBoolean) && storeBool(false);
      case 'n': return readLiteral("ull", parse_error::kInvalidNull) && storeNull();
      default:
        if (c == '-' || isDigit(c)) return readNumber();
        return fail(parse_error::kUnexpectedCharacter);
    }
  }

  // The position is on the literal's first letter; the rest must follow.
  [[nodiscard]] bool readLiteral(const char* rest, const char* message) {
    advance();
    for (; *rest != '\0'; ++rest) {
      if (atEnd() || peek() != *rest) return fail(message);
      advance();
    }
    return true;
  }

  [[nodiscard]] bool storeBool(bool value) {
    if (handler_) return events().onBool(value) ? valueStored() : fail(parse_error::kCanceled);
    Value stored;
    stored.setBool(value);
    return store(std::move(stored));
  }

  [[nodiscard]] bool storeNull() {
    if (handler_) return events().onNull() ? valueStored() : fail(parse_error::kCanceled);
    return store(Value());
  }

  // Hands a finished scalar or container to the open container, or to the caller's target.
  [[nodiscard]] bool store(Value&& value) {
    if (frames_.empty()) {
      storeAtTop(std::move(value));
      return true;
    }
    values_.push_back(std::move(value));
    return valueStored();
  }

  [[nodiscard]] bool valueStored() {
    if (!frames_.empty()) {
      Frame& frame = frames_.back();
      ++frame.count;
      frame.awaitingValue = false;
      frame.afterItem = true;
    }
    return true;
  }

  // The outermost value goes into the target. An object or array read there joins one of the
  // same kind already held, as reading into an existing container would.
  void storeAtTop(Value&& value) {
    if (!out_) return;
    if (value.isObject() && out_->isObject() && out_->size() != 0) {
      for (const auto& [key, member] : value.members()) {
        if (!out_->contains(key)) (*out_)[key] = member;
      }
    } else if (value.isArray() && out_->isArray() && out_->size() != 0) {
      for (const Value& element : value.elements()) out_->push_back(element);
    } else {
      *out_ = std::move(value);
    }
  }

  // The position stays on the bracket; the first step moves past it.
  [[nodiscard]] bool openContainer(bool object) {
    if (handler_ && !(object ? events().onStartObject() : events().onStartArray())) {
      return fail(parse_error::kCanceled);
    }
    frames_.push_back(Frame{object, false, false, values_.size(), keys_.size(), 0});
    return true;
  }

  // Closes the innermost container as read. The end event is sent only when its closing bracket
  // followed an element or member.
  [[nodiscard]] bool closeContainer(bool sendEndEvent) {
    const Frame frame = frames_.back();
    frames_.pop_back();
    if (handler_) {
      if (sendEndEvent && !(frame.object ? events().onEndObject() : events().onEndArray())) {
        return fail(parse_error::kCanceled);
      }
      return valueStored();
    }
    return store(frame.object ? buildObject(frame) : buildArray(frame));
  }

  [[nodiscard]] Value buildArray(const Frame& frame) {
    const auto first = values_.begin() + static_cast<std::ptrdiff_t>(frame.valueBase);
    Value::Elements elements(std::make_move_iterator(first), std::make_move_iterator(values_.end()));
    values_.erase(first, values_.end());
    return Value::makeArray(std::move(elements));
  }

  [[nodiscard]] Value buildObject(const Frame& frame) {
    Value::Members members;
    for (std::size_t i = 0; i < frame.count; ++i) {
      // try_emplace never replaces: the first of duplicate keys wins.
      members.try_emplace(members.end(), std::move(keys_[frame.keyBase + i]),
                          std::move(values_[frame.valueBase + i]));
    }
    values_.erase(values_.begin() + static_cast<std::ptrdiff_t>(frame.valueBase), values_.end());
    keys_.erase(keys_.begin() + static_cast<std::ptrdiff_t>(frame.keyBase), keys_.end());
    return Value::makeObject(std::move(members));
  }

  // After a failure, everything read so far stays: every open container is closed as read, the
  // value that failed stored as null in its place.
  void unwind() {
    if (handler_) {
      frames_.clear();
      return;
    }
    while (!frames_.empty()) {
      Frame& frame = frames_.back();
      // Unwinding after a failure: the steps' own results no longer matter.
      if (frame.awaitingValue) {
        values_.emplace_back();
        (void)valueStored();
      }
      (void)closeContainer(false);
    }
  }

  [[nodiscard]] bool stepArray() {
    Frame& frame = frames_.back();
    if (frame.afterItem) {
      skipWhite();
      if (atEnd()) return closeContainer(false);
      const char c = peek();
      if (c == ']') {
        advance();
        return closeContainer(true);
      }
      if (c != ',') return fail(parse_error::kUnexpectedStringInArray);
      frame.afterItem = false;
    }
    advance();  // past "[" or ","
    if (atEnd()) return closeContainer(false);
    skipWhite();
    if (!atEnd() && peek() == ']') {
      if (frame.count > 0 && !allowsTrailingComma()) {
        return fail(parse_error::kTrailingCommaInArray);
      }
      advance();
      return closeContainer(false);
    }
    frame.awaitingValue = true;
    return beginValue();
  }

  [[nodiscard]] bool stepObject() {
    Frame& frame = frames_.back();
    if (frame.afterItem) {
      skipWhite();
      if (atEnd()) return closeContainer(false);
      const char c = peek();
      if (c == '}') {
        advance();
        return closeContainer(true);
      }
      if (c != ',') return fail(parse_error::kUnexpectedStringInObject);
      frame.afterItem = false;
    }
    advance();  // past "{" or ","
    for (;;) {
      skipWhite();
      if (atEnd()) return closeContainer(false);
      const char c = peek();
      if (c == '"') break;
      if (c == '}') {
        if (frame.count > 0 && !allowsTrailingComma()) {
          return fail(parse_error::kTrailingCommaInObject);
        }
        advance();
        return closeContainer(false);
      }
      advance();  // a stray byte between members is skipped
    }
    std::string key;
    if (!readString(key)) return false;
    if (handler_ && !events().onKey(key)) return fail(parse_error::kCanceled);
    skipWhite();
    if (atEnd() || peek() != ':') return fail(parse_error::kUnexpectedStringInObject);
    advance();
    if (!handler_) keys_.push_back(std::move(key));
    frame.awaitingValue = true;
    return beginValue();
  }

  // Integer digits go into a 64-bit accumulator by the one rule that makes 9223372036854775807
  // an integer and 9223372036854775808 a double (and lets some 20-digit integers wrap).
  static void accumulate(std::uint64_t& accumulator, bool& overflow, char digit) {
    const auto value = static_cast<std::uint64_t>(digit - '0');
    if (accumulator <= 922337203685477579ULL) {
      accumulator = accumulator * 10 + value;
    } else if (value >= 8) {
      overflow = true;
    } else if (!overflow) {
      accumulator = accumulator * 10 + value;
    }
  }

  // Contiguous input is converted where it lies; other iterators get a text copy built on the
  // way, as the conversion needs a contiguous text.
  static constexpr bool kContiguous = std::is_pointer_v<It>;

  void keep(std::string& text, char c) {
    if constexpr (!kContiguous) text.push_back(c);
  }

  [[nodiscard]] bool readDigits(std::string& text) {
    bool any = false;
    while (!atEnd() && isDigit(peek())) {
      keep(text, peek());
      advance();
      any = true;
    }
    return any;
  }

  [[nodiscard]] bool readNumber() {
    std::string& text = numberText_;
    text.clear();
    const It start = it_.current;
    const bool negative = !atEnd() && peek() == '-';
    if (negative) {
      keep(text, '-');
      advance();
    }
    std::uint64_t accumulator = 0;
    bool overflow = false;
    if (!atEnd() && peek() == '0') {
      keep(text, '0');
      advance();
      if (!atEnd() && isDigit(peek())) return fail(parse_error::kLeadingZero);
    } else {
      const It digitsStart = it_.current;
      while (!atEnd() && isDigit(peek())) {
        keep(text, peek());
        accumulate(accumulator, overflow, peek());
        advance();
      }
      if (it_.current == digitsStart) return fail(parse_error::kNoDigit);
    }
    bool fraction = false;
    if (!atEnd() && peek() == '.') {
      keep(text, '.');
      advance();
      if (!readDigits(text)) return fail(parse_error::kNoDigitAfterPoint);
      fraction = true;
    }
    bool exponent = false;
    bool zeroExponent = true;
    if (!atEnd() && (peek() == 'e' || peek() == 'E')) {
      keep(text, 'e');
      advance();
      if (!atEnd() && peek() == '+') {
        advance();
      } else if (!atEnd() && peek() == '-') {
        keep(text, '-');
        advance();
      }
      const It digitsStart = it_.current;
      if (!readDigits(text)) return fail(parse_error::kNoDigitAfterExponent);
      exponent = true;
      for (It digit = digitsStart; digit != it_.current; ++digit) {
        if (*digit != '0') zeroExponent = false;
      }
    }
    if (!fraction && !overflow && (!exponent || zeroExponent)) {
      const auto integer = static_cast<std::int64_t>(negative ? 0 - accumulator : accumulator);
      if (handler_) return events().onInteger(integer) ? valueStored() : fail(parse_error::kCanceled);
      Value stored;
      stored.setInteger(integer);
      return store(std::move(stored));
    }
    double number = 0.0;
    bool converted;
    if constexpr (kContiguous) {
      converted = convertDoubleRange(reinterpret_cast<const char*>(start),
                                     reinterpret_cast<const char*>(it_.current), text, number);
    } else {
      (void)start;
      converted = convertDoubleText(text, exponent && zeroExponent, number);
    }
    if (!converted) return fail(parse_error::kFloatingPoint);
    if (handler_) return events().onDouble(number) ? valueStored() : fail(parse_error::kCanceled);
    Value stored;
    stored.setDouble(number);
    return store(std::move(stored));
  }

  // Appends the bytes up to the next quotation mark or backslash.
  void copyPlainBytes(std::string& out) {
    if constexpr (std::is_pointer_v<It>) {
      const auto* begin = it_.current;
      const auto* end = it_.end;
      const auto* cursor = begin;
      // Eight bytes at a time: a byte is '"' or '\\' exactly when XOR with that byte zeroes it.
      constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
      constexpr std::uint64_t kHighs = 0x8080808080808080ULL;
      while (end - cursor >= 8) {
        std::uint64_t word;
        std::memcpy(&word, cursor, sizeof word);
        const std::uint64_t quotes = word ^ (kOnes * '"');
        const std::uint64_t slashes = word ^ (kOnes * '\\');
        const std::uint64_t found =
            ((quotes - kOnes) & ~quotes) | ((slashes - kOnes) & ~slashes);
        if (found & kHighs) break;
        cursor += 8;
      }
      while (cursor != end && *cursor != '"' && *cursor != '\\') ++cursor;
      out.append(reinterpret_cast<const char*>(begin), static_cast<std::size_t>(cursor - begin));
      it_.current = cursor;
    } else {
      while (!atEnd() && peek() != '"' && peek() != '\\') {
        out.push_back(peek());
        advance();
      }
    }
  }

  // The position is on the opening quotation mark.
  [[nodiscard]] bool readString(std::string& out) {
    advance();
    for (;;) {
      copyPlainBytes(out);
      if (atEnd()) return fail(parse_error::kStringNotEnded);
      if (peek() == '"') {
        advance();
        return true;
      }
      advance();  // past the backslash
      if (atEnd()) return fail(parse_error::kUnexpectedEscape);
      const char escape = peek();
      advance();
      switch (escape) {
        case '"': out.push_back('"'); break;
        case '/': out.push_back('/'); break;
        case '\\': out.push_back('\\'); break;
        case 'b': out.push_back('\b'); break;
        case 'f': out.push_back('\f'); break;
        case 'n': out.push_back('\n'); break;
        case 'r': out.push_back('\r'); break;
        case 't': out.push_back('\t'); break;
        case 'u':
          if (!readEscapedCodePoint(out)) return false;
          break;
        default: return fail(parse_error::kUnexpectedEscape);
      }
    }
  }

  // The position is after "\u".
  [[nodiscard]] bool readEscapedCodePoint(std::string& out) {
    unsigned short first = 0;
    if (!readHex(first)) return fail(parse_error::kInvalidHex);
    std::uint32_t codePoint = first;
    if (first >= 0xD800 && first <= 0xDBFF) {
      if (atEnd() || peek() != '\\') return fail(parse_error::kInvalidSurrogate);
      advance();
      if (atEnd() || peek() != 'u') return fail(parse_error::kInvalidSurrogate);
      advance();
      unsigned short second = 0;
      if (!readHex(second) || second < 0xDC00 || second > 0xDFFF) {
        return fail(parse_error::kInvalidSurrogate);
      }
      codePoint = 0x10000 + ((static_cast<std::uint32_t>(first) - 0xD800) << 10) + (second & 0x3FF);
    } else if (first >= 0xDC00 && first <= 0xDFFF) {
      return false;  // a lone low surrogate fails without a message, by design
    }
    appendUtf8(out, codePoint);
    return true;
  }

  // Four hexadecimal digits from the current position; the position moves past the digits read.
  [[nodiscard]] bool readHex(unsigned short& out) {
    unsigned value = 0;
    for (int i = 0; i < 4; ++i) {
      if (atEnd()) return false;
      const char c = peek();
      unsigned digit;
      if (c >= '0' && c <= '9') {
        digit = static_cast<unsigned>(c - '0');
      } else if (c >= 'a' && c <= 'f') {
        digit = static_cast<unsigned>(c - 'a' + 10);
      } else if (c >= 'A' && c <= 'F') {
        digit = static_cast<unsigned>(c - 'A' + 10);
      } else {
        return false;
      }
      value = value * 16 + digit;
      advance();
    }
    out = static_cast<unsigned short>(value);
    return true;
  }

  std::string& error_;
  AbstractParseHandler* handler_;
  DepthAwareParseHandler* depthAware_;
  Iterator& it_;
  const ParseOption& option_;
  Value* out_ = nullptr;
  ScratchLease lease_;
  std::vector<Frame>& frames_ = lease_.get().frames;
  std::vector<Value>& values_ = lease_.get().values;
  std::vector<std::string>& keys_ = lease_.get().keys;
  std::string& numberText_ = lease_.get().numberText;
};

extern template class ParseEngine<const char*>;

}  // namespace cairnjson::detail

#endif  // CAIRNJSON_PARSE_ENGINE_H
