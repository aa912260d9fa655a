// One member of a JSON object, read straight from the text without building the document.
#ifndef CAIRNJSON_MEMBER_H
#define CAIRNJSON_MEMBER_H

#include "json/parse_handler.h"
#include "json/value.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace cairnjson {

// A member's type and text form. Texts up to kInPlace bytes (identifiers, method names, numbers)
// are kept in place, so reading one allocates nothing.
class Member {
 public:
  static constexpr std::size_t kInPlace = 47;

  Member() = default;
  Member(Type type, std::string_view text) : type_(type) { setText(text); }

  [[nodiscard]] Type type() const noexcept { return type_; }
  // The text form, as Value::toString gives it with an empty default: a string as it is, a
  // number or a boolean in its text; "" for null, objects and arrays.
  [[nodiscard]] std::string_view text() const noexcept {
    return length_ <= kInPlace ? std::string_view(inPlace_, length_) : std::string_view(longer_);
  }

 private:
  void setText(std::string_view text);

  Type type_ = Type::Null;
  std::size_t length_ = 0;
  char inPlace_[kInPlace] = {};  // the first length_ bytes hold a short text
  std::string longer_;
};

// What parsing the text [begin, end) with `option` and then reading the member `key` of the
// result would give, read with parse events instead: nothing when the text does not parse, is not
// an object or has no member `key` (of duplicate keys the first counts). The whole text is still
// read, so that a text that would not parse gives nothing.
[[nodiscard]] std::optional<Member> findMember(const char* begin, const char* end,
                                               std::string_view key,
                                               const ParseOption& option = {});

// The same read from a value already parsed.
[[nodiscard]] std::optional<Member> memberOf(const Value& object, std::string_view key);

}  // namespace cairnjson

#endif  // CAIRNJSON_MEMBER_H
