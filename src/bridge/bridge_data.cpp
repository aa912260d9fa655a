#include "bridge/bridge_data.h"

#include "json/parser.h"

namespace {

// Text after the value is diagnosed by the parser but not held against the value.
cairnjson::ParseOption argumentOption() {
  cairnjson::ParseOption option;
  option.flags = cairnjson::ParseOption::kAllowTrailingText;
  return option;
}

}  // namespace

BridgeData::Argument::Argument(const char* text) : text_(text ? text : "") {}

const cairnjson::Value& BridgeData::Argument::value() const {
  if (!value_) {
    cairnjson::Parser parser;
    cairnjson::Value parsed;
    const bool ok = !text_.empty() &&
                    parser.parse(text_.data(), text_.data() + text_.size(), parsed, argumentOption());
    value_ = ok ? std::move(parsed) : cairnjson::Value();
  }
  return *value_;
}

std::optional<cairnjson::Member> BridgeData::Argument::member(std::string_view key) const {
  if (value_) return cairnjson::memberOf(*value_, key);
  return cairnjson::findMember(text_.data(), text_.data() + text_.size(), key, argumentOption());
}

BridgeData::BridgeData(const char* request, const char* parameters, const char* query,
                       const char* data)
    : request_(request), parameters_(parameters), query_(query), data_(data) {}

const cairnjson::Value& BridgeData::data() const {
  if (!body_) {
    body_ = data_.value();
    if (body_->isNull() && !data_.text().empty()) body_->setString(std::string(data_.text()));
  }
  return *body_;
}

const std::optional<cairnjson::Member>& BridgeData::method() const {
  if (!method_) method_ = request_.member("method");
  return *method_;
}
