// cairnjson::Parser: JSON text to cairnjson::Value (or to parse events).
//
// The reader is byte-oriented and does not validate UTF-8. It has no nesting limit and does not
// recurse: any depth parses on any stack. It is deliberately lenient in a few places:
//   - a UTF-8 byte-order mark, or the first one or two bytes of one, is skipped by parse();
//   - an object or array cut short by the end of the input is accepted as read ({"a":1 and [1,2);
//   - stray bytes between object members are skipped ({,"a":1} reads as {"a":1});
//   - on duplicate keys the first occurrence wins;
//   - text after the value is accepted when it starts with a NUL byte.
// Every failure sets error() to one fixed English sentence and returns false; nothing is thrown
// for bad input. What was read before the failure stays in the target value.
//
// Example:
//   cairnjson::Parser parser;
//   cairnjson::Value value;
//   if (!parser.parse(text, value)) log(parser.error());
#ifndef CAIRNJSON_PARSER_H
#define CAIRNJSON_PARSER_H

#include "json/parse_engine.h"
#include "json/parse_handler.h"
#include "json/parse_iterator.h"
#include "json/value.h"

#include <string>

namespace cairnjson {

class Parser {
 public:
  template <class It>
  using Iterator = ParseIterator<It>;

  // Parses a whole text: skips a byte-order mark, reads one value into `out` and, unless
  // kAllowTrailingText is set, fails with "Gabage string exists after json string." when
  // anything but white space or a NUL byte follows it (the value read stays in `out`).
  //
  // `out` is not cleared first: a top-level object is merged into an object already held (keys
  // already present win), a top-level array is appended to an array already held; any other
  // result replaces the content. Parse into a fresh Value to get just the document.
  //
  // Returns true on success. On failure error() holds the reason; the one failure without a text
  // is a "\u" escape of a lone low surrogate (DC00-DFFF standing first).
  [[nodiscard]] bool parse(const std::string& text, Value& out, const ParseOption& option = {});
  [[nodiscard]] bool parse(const char* begin, const char* end, Value& out, const ParseOption& option = {});
  // The same, sending events to `handler` instead of building a value.
  [[nodiscard]] bool parse(const std::string& text, AbstractParseHandler& handler,
                           const ParseOption& option = {});
  [[nodiscard]] bool parse(const char* begin, const char* end, AbstractParseHandler& handler,
                           const ParseOption& option = {});

  // The reason of the last failure; empty after a success.
  [[nodiscard]] const std::string& error() const noexcept { return error_; }

  // The building blocks, each starting at the current position. With a handler, `out` is ignored
  // (pass null) and events are sent instead.
  //
  // One value after optional white space.
  template <class It>
  [[nodiscard]] bool parse_value(Value* out, AbstractParseHandler* handler, Iterator<It>& it,
                   const ParseOption& option);
  // An object; the position must be on "{".
  template <class It>
  [[nodiscard]] bool parse_object(Value* out, AbstractParseHandler* handler, Iterator<It>& it,
                    const ParseOption& option);
  // An array; the position must be on "[".
  template <class It>
  [[nodiscard]] bool parse_array(Value* out, AbstractParseHandler* handler, Iterator<It>& it,
                   const ParseOption& option);
  // A number; the position must be on "-" or a digit. Integers without fraction and without a
  // non-zero exponent that fit in 64 bits become Integer values, everything else Double.
  template <class It>
  [[nodiscard]] bool parse_number(Value* out, AbstractParseHandler* handler, Iterator<It>& it);
  // A string token; the position must be on its opening quotation mark. Replaces `out`.
  template <class It>
  [[nodiscard]] bool parse_string(std::string& out, Iterator<It>& it);
  // Four hexadecimal digits.
  template <class It>
  [[nodiscard]] bool parse_hex(unsigned short& out, Iterator<It>& it);
  // Skips space, tab, line feed and carriage return.
  template <class It>
  static void skip_white_space(Iterator<It>& it);

 private:
  template <class It>
  [[nodiscard]] bool parseText(It begin, It end, Value* out, AbstractParseHandler* handler,
                 const ParseOption& option);

  std::string error_;
};

template <class It>
bool Parser::parse_value(Value* out, AbstractParseHandler* handler, Iterator<It>& it,
                         const ParseOption& option) {
  error_.clear();
  return detail::ParseEngine<It>(error_, handler, it, option).run(out, detail::ParseStart::Value);
}

template <class It>
bool Parser::parse_object(Value* out, AbstractParseHandler* handler, Iterator<It>& it,
                          const ParseOption& option) {
  error_.clear();
  return detail::ParseEngine<It>(error_, handler, it, option).run(out, detail::ParseStart::Object);
}

template <class It>
bool Parser::parse_array(Value* out, AbstractParseHandler* handler, Iterator<It>& it,
                         const ParseOption& option) {
  error_.clear();
  return detail::ParseEngine<It>(error_, handler, it, option).run(out, detail::ParseStart::Array);
}

template <class It>
bool Parser::parse_number(Value* out, AbstractParseHandler* handler, Iterator<It>& it) {
  error_.clear();
  const ParseOption option;
  return detail::ParseEngine<It>(error_, handler, it, option).parseNumber(out);
}

template <class It>
bool Parser::parse_string(std::string& out, Iterator<It>& it) {
  error_.clear();
  const ParseOption option;
  out.clear();
  return detail::ParseEngine<It>(error_, nullptr, it, option).parseString(out);
}

template <class It>
bool Parser::parse_hex(unsigned short& out, Iterator<It>& it) {
  error_.clear();
  const ParseOption option;
  return detail::ParseEngine<It>(error_, nullptr, it, option).parseHex(out);
}

template <class It>
void Parser::skip_white_space(Iterator<It>& it) {
  detail::skipWhiteSpace(it.current, it.end);
}

}  // namespace cairnjson

#endif  // CAIRNJSON_PARSER_H
