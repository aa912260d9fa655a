// The parser's options and its event (SAX) interface.
#ifndef CAIRNJSON_PARSE_HANDLER_H
#define CAIRNJSON_PARSE_HANDLER_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace cairnjson {

namespace detail {
template <class It>
class ParseEngine;
}  // namespace detail

// Flags that relax the parser; all off by default, which is how the program always parses.
struct ParseOption {
  // Accept one comma before "]" or "}".
  static constexpr std::uint32_t kAllowTrailingComma = 1;
  // Do not check for text after the value in Parser::parse.
  static constexpr std::uint32_t kAllowTrailingText = 2;

  std::uint32_t flags = 0;

  [[nodiscard]] bool has(std::uint32_t flag) const noexcept { return (flags & flag) != 0; }
};

// Receives the document as a stream of events instead of a Value. Returning false from any event
// stops the parse with the error "SAX handler cancels parsing.".
//
// The events follow the parser's own steps: the end-of-array and end-of-object events are sent
// when the closing bracket follows an element or member; an empty container ("[]", "{}"), a
// container closed right after an allowed trailing comma, and a container cut short by the end of
// the input send no end event.
class AbstractParseHandler {
 public:
  virtual ~AbstractParseHandler() = default;

  [[nodiscard]] virtual bool onNull() = 0;
  [[nodiscard]] virtual bool onBool(bool value) = 0;
  [[nodiscard]] virtual bool onInteger(std::int64_t value) = 0;
  [[nodiscard]] virtual bool onDouble(double value) = 0;
  [[nodiscard]] virtual bool onString(const std::string& value) = 0;
  [[nodiscard]] virtual bool onStartArray() = 0;
  [[nodiscard]] virtual bool onEndArray() = 0;
  [[nodiscard]] virtual bool onStartObject() = 0;
  [[nodiscard]] virtual bool onKey(const std::string& key) = 0;
  [[nodiscard]] virtual bool onEndObject() = 0;
};

// A handler that also knows how deep each event lies: depth() is the number of objects and arrays
// open around it when an event arrives (0 for the outermost value and for the start of an
// outermost object or array, 1 for the keys and values of its members, ...). Unlike the end
// events, the depth is exact after empty and cut-short containers too.
class DepthAwareParseHandler : public AbstractParseHandler {
 public:
  [[nodiscard]] std::size_t depth() const noexcept { return depth_; }

 private:
  template <class It>
  friend class detail::ParseEngine;
  std::size_t depth_ = 0;
};

}  // namespace cairnjson

#endif  // CAIRNJSON_PARSE_HANDLER_H
