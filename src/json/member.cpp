#include "json/member.h"

#include "json/parser.h"
#include "json/serializer.h"

#include <cstring>

namespace cairnjson {

namespace {

// Follows the events of one document and keeps the first member `key` of an outermost object.
class MemberFinder final : public DepthAwareParseHandler {
 public:
  explicit MemberFinder(std::string_view key) : key_(key) {}

  [[nodiscard]] std::optional<Member>& found() { return found_; }
  [[nodiscard]] bool outermostIsObject() const { return outermostIsObject_; }

  bool onNull() override { return take(Value()); }
  bool onBool(bool value) override { return take(Value::makeBool(value)); }
  bool onInteger(std::int64_t value) override { return take(Value::makeInteger(value)); }
  bool onDouble(double value) override { return take(Value::makeDouble(value)); }
  bool onString(const std::string& value) override {
    if (!awaitingMember_) return true;
    awaitingMember_ = false;
    found_ = Member(Type::String, value);
    return true;
  }
  bool onStartArray() override { return takeContainer(Type::Array); }
  bool onStartObject() override {
    if (depth() == 0) outermostIsObject_ = true;
    return takeContainer(Type::Object);
  }
  bool onKey(const std::string& key) override {
    if (depth() == 1 && !found_ && key == key_) awaitingMember_ = true;
    return true;
  }
  bool onEndArray() override { return true; }
  bool onEndObject() override { return true; }

 private:
  // A scalar event: the member's value when it follows the key looked for.
  bool take(const Value& scalar) {
    if (!awaitingMember_) return true;
    awaitingMember_ = false;
    found_ = Member(scalar.type(), scalar.toString(std::string()));
    return true;
  }
  bool takeContainer(Type type) {
    if (!awaitingMember_) return true;
    awaitingMember_ = false;
    found_ = Member(type, std::string_view());
    return true;
  }

  std::string_view key_;
  bool outermostIsObject_ = false;
  bool awaitingMember_ = false;
  std::optional<Member> found_;
};

// The texts the bridge reads members from are nearly always small flat objects of strings and
// literals ({"method":"GET"}, {"id":"..."}, {"supports":null}). FlatObjectReader reads exactly
// such a text, strictly: an object of members whose values are strings without escapes, null,
// true or false, in plain JSON layout. For those the parser could only come to the same answer,
// so the answer is final; anything else (a byte-order mark, numbers, escapes, nesting, any of
// the parser's lenient readings) is left to the parser.
class FlatObjectReader {
 public:
  enum class Outcome { Found, Absent, NotFlat };

  FlatObjectReader(const char* begin, const char* end, std::string_view key)
      : at_(begin), end_(end), key_(key) {}

  // With kAllowTrailingText unset, only white space or a NUL byte may follow the object.
  Outcome read(const ParseOption& option) {
    skipWhite();
    if (!take('{')) return Outcome::NotFlat;
    skipWhite();
    if (!take('}')) {
      for (;;) {
        std::string_view name;
        if (!readString(name)) return Outcome::NotFlat;
        skipWhite();
        if (!take(':')) return Outcome::NotFlat;
        skipWhite();
        const bool wanted = !found_ && name == key_;
        if (!readValue(wanted)) return Outcome::NotFlat;
        skipWhite();
        if (take('}')) break;
        if (!take(',')) return Outcome::NotFlat;
        skipWhite();
      }
    }
    if (!option.has(ParseOption::kAllowTrailingText)) {
      skipWhite();
      if (at_ != end_ && *at_ != '\0') return Outcome::NotFlat;
    }
    return found_ ? Outcome::Found : Outcome::Absent;
  }

  Member& member() { return member_; }

 private:
  void skipWhite() {
    while (at_ != end_ && (*at_ == ' ' || *at_ == '\t' || *at_ == '\n' || *at_ == '\r')) ++at_;
  }
  bool take(char c) {
    if (at_ == end_ || *at_ != c) return false;
    ++at_;
    return true;
  }
  bool takeWord(std::string_view word) {
    if (static_cast<std::size_t>(end_ - at_) < word.size() ||
        std::string_view(at_, word.size()) != word) {
      return false;
    }
    at_ += word.size();
    return true;
  }
  // A string of bytes the serializer would write unescaped (from 0x20 up, no backslash, no DEL).
  bool readString(std::string_view& text) {
    if (!take('"')) return false;
    const void* quote = std::memchr(at_, '"', static_cast<std::size_t>(end_ - at_));
    if (!quote) return false;
    const char* close = static_cast<const char*>(quote);
    const auto length = static_cast<std::size_t>(close - at_);
    if (detail::anyNeedsEscape(at_, length)) return false;
    text = std::string_view(at_, length);
    at_ = close + 1;
    return true;
  }
  bool readValue(bool wanted) {
    Type type = Type::Null;
    std::string_view text;
    if (at_ != end_ && *at_ == '"') {
      if (!readString(text)) return false;
      type = Type::String;
    } else if (takeWord("null")) {
      type = Type::Null;
    } else if (takeWord("true")) {
      type = Type::Bool;
      text = "true";
    } else if (takeWord("false")) {
      type = Type::Bool;
      text = "false";
    } else {
      return false;
    }
    if (wanted) {
      found_ = true;
      member_ = Member(type, text);
    }
    return true;
  }

  const char* at_;
  const char* end_;
  std::string_view key_;
  bool found_ = false;
  Member member_;
};

}  // namespace

std::optional<Member> findMember(const char* begin, const char* end, std::string_view key,
                                 const ParseOption& option) {
  FlatObjectReader flat(begin, end, key);
  switch (flat.read(option)) {
    case FlatObjectReader::Outcome::Found: return std::move(flat.member());
    case FlatObjectReader::Outcome::Absent: return std::nullopt;
    case FlatObjectReader::Outcome::NotFlat: break;
  }
  MemberFinder finder(key);
  Parser parser;
  if (!parser.parse(begin, end, finder, option) || !finder.outermostIsObject()) return std::nullopt;
  return std::move(finder.found());
}

std::optional<Member> memberOf(const Value& object, std::string_view key) {
  if (!object.isObject()) return std::nullopt;
  const auto& members = object.members();
  const auto found = members.find(std::string(key));
  if (found == members.end()) return std::nullopt;
  return Member(found->second.type(), found->second.toString(std::string()));
}

void Member::setText(std::string_view text) {
  length_ = text.size();
  if (length_ <= kInPlace) {
    // An empty view may have no data at all, which memcpy must not be given.
    if (length_ != 0) std::memcpy(inPlace_, text.data(), length_);
    longer_.clear();
  } else {
    longer_.assign(text);
  }
}

}  // namespace cairnjson
