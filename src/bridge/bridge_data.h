// BridgeData: one request as the handlers see it.
#ifndef QUILBY_BRIDGE_BRIDGE_DATA_H
#define QUILBY_BRIDGE_BRIDGE_DATA_H

#include "json/member.h"
#include "json/value.h"

#include <optional>
#include <string_view>

// The four texts of an entry point's call, read as JSON: each is parsed only when first asked for,
// and single members can be read without parsing the document into values at all. A text that is
// empty or not JSON gives null (text after the value is ignored), except the body: a body that is
// not JSON arrives as a string holding its text.
//
// The texts are the caller's: a BridgeData lives within the entry point's call.
class BridgeData {
 public:
  // NULL reads as "".
  BridgeData(const char* request, const char* parameters, const char* query, const char* data);

  // The call's description; its "method" selects the handler.
  [[nodiscard]] const cairnjson::Value& request() const { return request_.value(); }
  // The path parameters; "id" names an opened sensor.
  [[nodiscard]] const cairnjson::Value& parameters() const { return parameters_.value(); }
  // The query keys; handlers test keys for presence only.
  [[nodiscard]] const cairnjson::Value& query() const { return query_.value(); }
  // The body.
  [[nodiscard]] const cairnjson::Value& data() const;

  // request()["method"], read once for the dispatcher and the request log.
  [[nodiscard]] const std::optional<cairnjson::Member>& method() const;

  // request()[key], parameters()[key] and query()[key] when present, as cairnjson::findMember
  // reads them.
  [[nodiscard]] std::optional<cairnjson::Member> requestMember(std::string_view key) const {
    return request_.member(key);
  }
  [[nodiscard]] std::optional<cairnjson::Member> parameterMember(std::string_view key) const {
    return parameters_.member(key);
  }
  [[nodiscard]] std::optional<cairnjson::Member> queryMember(std::string_view key) const {
    return query_.member(key);
  }

 private:
  // One text and, once asked for, its value.
  class Argument {
   public:
    explicit Argument(const char* text);
    [[nodiscard]] const cairnjson::Value& value() const;
    [[nodiscard]] std::optional<cairnjson::Member> member(std::string_view key) const;
    [[nodiscard]] std::string_view text() const { return text_; }

   private:
    std::string_view text_;
    mutable std::optional<cairnjson::Value> value_;
  };

  Argument request_;
  Argument parameters_;
  Argument query_;
  Argument data_;
  mutable std::optional<cairnjson::Value> body_;
  mutable std::optional<std::optional<cairnjson::Member>> method_;
};

#endif  // QUILBY_BRIDGE_BRIDGE_DATA_H
