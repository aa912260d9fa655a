#include "json/value.h"

#include "json/double.h"
#include "json/locale_decimal_point.h"

#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <tuple>
#include <utility>

namespace cairnjson {
namespace {

// strtoll in base 0 over the whole text: leading white space and a sign are accepted, any byte
// left over (trailing blanks and embedded NULs included) fails. The empty text gives 0.
bool readWholeLongLong(const std::string& text, long long& result) {
  const char* begin = text.c_str();
  char* end = nullptr;
  result = std::strtoll(begin, &end, 0);
  return end == begin + text.size();
}

// strtod over a copy whose first "." is replaced by the locale's decimal point; the whole copy
// must be consumed. The empty text gives 0.0.
bool readWholeDouble(const std::string& text, double& result) {
  std::string copy = text;
  const std::size_t dot = copy.find('.');
  if (dot != std::string::npos) copy[dot] = detail::localeDecimalPoint().first;
  const char* begin = copy.c_str();
  char* end = nullptr;
  result = std::strtod(begin, &end);
  return end == begin + copy.size();
}

}  // namespace

Value::Value(const Type& type) : type_(type), word_{0} { makeEmptyContainer(); }

Value& Value::operator=(const Value& other) noexcept {
  if (this == &other) return *this;
  if (other.hasContainer()) ++other.word_.container->count;
  release();
  type_ = other.type_;
  word_ = other.word_;
  return *this;
}

Value& Value::operator=(Value&& other) noexcept {
  if (this == &other) return *this;
  release();
  type_ = other.type_;
  word_ = other.word_;
  other.type_ = Type::Null;
  other.word_.bits = 0;
  return *this;
}

Value& Value::operator=(const char* text) {
  if (type_ == Type::String && word_.container && word_.container->count < 2) {
    as<std::string>()->payload.assign(text ? text : "");
    return *this;
  }
  adopt(Type::String, new Container<std::string>(std::string(text ? text : "")));
  return *this;
}

void Value::makeEmptyContainer() {
  switch (type_) {
    case Type::String: word_.container = new Container<std::string>(); break;
    case Type::Object: word_.container = new Container<Members>(); break;
    case Type::Array: word_.container = new Container<Elements>(); break;
    default: word_.bits = 0; break;
  }
}

void Value::adopt(Type type, AbstractContainer* container) noexcept {
  release();
  type_ = type;
  word_.container = container;
}

void Value::setType(const Type& type) {
  if (type_ == type) return;
  Value fresh(type);
  *this = std::move(fresh);
}

void Value::setString(const std::string& text) {
  if (type_ == Type::String && word_.container && word_.container->count < 2) {
    as<std::string>()->payload = text;
    return;
  }
  adopt(Type::String, new Container<std::string>(text));
}

void Value::setString(std::string&& text) {
  if (type_ == Type::String && word_.container && word_.container->count < 2) {
    as<std::string>()->payload = std::move(text);
    return;
  }
  adopt(Type::String, new Container<std::string>(std::move(text)));
}

Value::Members& Value::writableMembers() {
  if (type_ == Type::Object && word_.container) {
    Container<Members>* shared = as<Members>();
    if (shared->count > 1) {
      auto* copy = new Container<Members>(shared->payload);
      --shared->count;
      word_.container = copy;
    }
  } else {
    adopt(Type::Object, new Container<Members>());
  }
  return as<Members>()->payload;
}

Value::Elements& Value::writableElements() {
  if (type_ == Type::Array && word_.container) {
    Container<Elements>* shared = as<Elements>();
    if (shared->count > 1) {
      auto* copy = new Container<Elements>(shared->payload);
      --shared->count;
      word_.container = copy;
    }
  } else {
    adopt(Type::Array, new Container<Elements>());
  }
  return as<Elements>()->payload;
}

Value& Value::operator[](const std::string& key) {
  Members& members = writableMembers();
  return members.try_emplace(key).first->second;
}

const Value& Value::operator[](const std::string& key) const {
  if (type_ != Type::Object || !word_.container) return s_null();
  const Members& members = as<Members>()->payload;
  const auto found = members.find(key);
  return found == members.end() ? s_null() : found->second;
}

Value& Value::operator[](const unsigned long& index) {
  Elements& elements = writableElements();
  if (index >= elements.size()) elements.resize(index + 1);
  return elements[index];
}

const Value& Value::operator[](const unsigned long& index) const {
  const Elements& all = elements();
  return index < all.size() ? all[index] : s_null();
}

void Value::push_back(const Value& element) {
  // Copy first: `element` may live inside the vector that grows.
  Value copy(element);
  writableElements().push_back(std::move(copy));
}

bool Value::contains(const std::string& key) const {
  return type_ == Type::Object && word_.container && as<Members>()->payload.count(key) != 0;
}

const std::string& Value::emptyString() noexcept {
  static const std::string empty;
  return empty;
}

const Value::Members& Value::emptyMembers() noexcept {
  static const Members empty;
  return empty;
}

const Value::Elements& Value::emptyElements() noexcept {
  static const Elements empty;
  return empty;
}

int Value::toInt(const int& def) const {
  switch (type_) {
    case Type::Bool: return word_.boolean ? 1 : 0;
    case Type::Integer:
      return word_.integer >= INT_MIN && word_.integer <= INT_MAX ? static_cast<int>(word_.integer)
                                                                  : def;
    case Type::Double: {
      const double rounded = std::round(word_.number);
      return rounded >= -2147483648.0 && rounded <= 2147483647.0 ? static_cast<int>(rounded) : def;
    }
    case Type::String: {
      long long parsed = 0;
      if (!word_.container || !readWholeLongLong(as<std::string>()->payload, parsed)) return def;
      return parsed >= INT_MIN && parsed <= INT_MAX ? static_cast<int>(parsed) : def;
    }
    default: return def;
  }
}

unsigned int Value::toUInt(const unsigned int& def) const {
  constexpr unsigned long long kMax = 4294967295ULL;
  switch (type_) {
    case Type::Bool: return word_.boolean ? 1U : 0U;
    case Type::Integer: {
      const auto asUnsigned = static_cast<unsigned long long>(word_.integer);
      return asUnsigned <= kMax ? static_cast<unsigned int>(asUnsigned) : def;
    }
    case Type::Double: {
      const double rounded = std::round(word_.number);
      return rounded >= 0.0 && rounded <= 4294967295.0 ? static_cast<unsigned int>(rounded) : def;
    }
    case Type::String: {
      long long parsed = 0;
      if (!word_.container || !readWholeLongLong(as<std::string>()->payload, parsed)) return def;
      const auto asUnsigned = static_cast<unsigned long long>(parsed);
      return asUnsigned <= kMax ? static_cast<unsigned int>(asUnsigned) : def;
    }
    default: return def;
  }
}

long long Value::convertToLLong(const long long& def) const {
  switch (type_) {
    case Type::Bool: return word_.boolean ? 1 : 0;
    case Type::Integer: return word_.integer;
    case Type::Double: {
      const double rounded = std::round(word_.number);
      // The upper bound is inclusive on purpose: 2^63 gives what the processor's conversion
      // gives for it, the most negative value (spelled out to stay clear of undefined behaviour).
      if (!(rounded >= -9223372036854775808.0 && rounded <= 9223372036854775808.0)) return def;
      return rounded == 9223372036854775808.0 ? LLONG_MIN : static_cast<long long>(rounded);
    }
    case Type::String: {
      long long parsed = 0;
      if (!word_.container || !readWholeLongLong(as<std::string>()->payload, parsed)) return def;
      return parsed;
    }
    default: return def;
  }
}

double Value::convertToDouble(const double& def) const {
  switch (type_) {
    case Type::Bool: return word_.boolean ? 1.0 : 0.0;
    case Type::Integer: return static_cast<double>(word_.integer);
    case Type::Double: return word_.number;
    case Type::String: {
      double parsed = 0.0;
      if (!word_.container || !readWholeDouble(as<std::string>()->payload, parsed)) return def;
      return parsed;
    }
    default: return def;
  }
}

std::string Value::toString(const std::string& def) const {
  switch (type_) {
    case Type::Bool: return word_.boolean ? "true" : "false";
    case Type::Integer: {
      char text[24];
      const auto result = std::to_chars(text, text + sizeof text, word_.integer);
      return std::string(text, result.ptr);
    }
    case Type::Double: {
      char text[Double::kMaxText];
      std::size_t length = 0;
      // A NaN or an infinity has a text too ("nan", "inf"), though not one JSON allows.
      (void)Double(word_.number).format(text, length);
      return std::string(text, length);
    }
    case Type::String: return stringRef();
    default: return def;
  }
}

bool Value::shallowEquals(const Value& a, const Value& b) noexcept {
  if (a.type_ != b.type_) return false;
  switch (a.type_) {
    case Type::Null: return true;
    case Type::Bool: return a.word_.boolean == b.word_.boolean;
    case Type::Integer: return a.word_.integer == b.word_.integer;
    case Type::Double: return a.word_.number == b.word_.number;
    case Type::String: return a.stringRef() == b.stringRef();
    case Type::Object:
    case Type::Array: return a.size() == b.size();
    default: return false;
  }
}

bool Value::operator==(const Value& other) const {
  if (!shallowEquals(*this, other)) return false;
  // Containers still to compare member by member, so that nesting depth never reaches the stack.
  std::vector<std::pair<const Value*, const Value*>> pending;
  if (type_ == Type::Object || type_ == Type::Array) pending.emplace_back(this, &other);
  const auto compare = [&pending](const Value& a, const Value& b) {
    if (!shallowEquals(a, b)) return false;
    if ((a.isObject() || a.isArray()) && a.size() != 0) pending.emplace_back(&a, &b);
    return true;
  };
  while (!pending.empty()) {
    const auto [a, b] = pending.back();
    pending.pop_back();
    if (a->isArray()) {
      const Elements& left = a->elements();
      const Elements& right = b->elements();
      for (std::size_t i = 0; i < left.size(); ++i) {
        if (!compare(left[i], right[i])) return false;
      }
    } else {
      auto right = b->members().begin();
      for (const auto& [key, value] : a->members()) {
        if (key != right->first || !compare(value, right->second)) return false;
        ++right;
      }
    }
  }
  return true;
}

bool holdsNonFiniteNumber(const Value& value) {
  std::vector<const Value*> pending{&value};
  while (!pending.empty()) {
    const Value* item = pending.back();
    pending.pop_back();
    if (item->isDouble() && !std::isfinite(item->toDouble(0.0))) return true;
    for (const Value& element : item->elements()) pending.push_back(&element);
    for (const auto& member : item->members()) pending.push_back(&member.second);
  }
  return false;
}

const Value& Value::s_null() {
  static const Value null;
  return null;
}

void Value::release() noexcept {
  if (!hasContainer()) return;
  AbstractContainer* container = word_.container;
  word_.container = nullptr;
  if (--container->count != 0) return;
  if (type_ == Type::String) {
    delete container;
    return;
  }
  // Deleting a container destroys its elements, which would release their containers in turn and
  // recurse once per nesting level. Instead, take over every child container that is about to die
  // (use count 1), so the delete below only touches leaves and shared containers, and delete the
  // taken-over ones from this loop.
  std::vector<std::pair<Type, AbstractContainer*>> dying;
  const auto takeOverIfDying = [&dying](Value& child) {
    const bool nested = child.type_ == Type::Object || child.type_ == Type::Array;
    if (!nested || !child.word_.container || child.word_.container->count != 1) return;
    dying.emplace_back(child.type_, child.word_.container);
    child.word_.container = nullptr;
  };
  Type type = type_;
  for (;;) {
    if (type == Type::Array) {
      for (Value& element : static_cast<Container<Elements>*>(container)->payload) {
        takeOverIfDying(element);
      }
    } else if (type == Type::Object) {
      for (auto& member : static_cast<Container<Members>*>(container)->payload) {
        takeOverIfDying(member.second);
      }
    }
    delete container;
    if (dying.empty()) break;
    std::tie(type, container) = dying.back();
    dying.pop_back();
  }
}

}  // namespace cairnjson
