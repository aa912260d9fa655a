// cairnjson::Value: the in-memory form of every JSON document.
//
// A Value is two machine words: a kind tag and one 64-bit word that holds either the scalar
// itself or a pointer to a reference-counted container (string, array or object). Copies share
// the container until one of them writes through a non-const operator[], which detaches a private
// shallow copy (copy-on-write). Reads never fail: a wrong kind gives the caller's default or the
// shared null value. Writes silently convert the value to the kind they need.
//
// Use counts are plain integers: a Value and every Value sharing containers with it belong to one
// thread at a time. Destruction, comparison and the parser and serializer never recurse once per
// nesting level, so documents of any depth are safe on small stacks.
#ifndef CAIRNJSON_VALUE_H
#define CAIRNJSON_VALUE_H

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace cairnjson {

// The kind of a Value. The values are bit flags; String, Object and Array are the container kinds
// (together kContainerKinds).
enum class Type : std::uint32_t {
  Null = 0,
  Bool = 1,
  Integer = 2,
  Double = 4,
  String = 16,
  Object = 32,
  Array = 64,
};

inline constexpr std::uint32_t kContainerKinds = 112;

class Value {
 public:
  using Members = std::map<std::string, Value>;
  using Elements = std::vector<Value>;

  // Base of the heap containers: a virtual destructor and the number of Values sharing it.
  class AbstractContainer {
   public:
    AbstractContainer() = default;
    AbstractContainer(const AbstractContainer&) = delete;
    AbstractContainer& operator=(const AbstractContainer&) = delete;
    virtual ~AbstractContainer() = default;

    std::uint32_t count = 1;
  };

  template <class T>
  class Container final : public AbstractContainer {
   public:
    Container() = default;
    explicit Container(const T& source) : payload(source) {}
    explicit Container(T&& source) noexcept : payload(std::move(source)) {}

    T payload;
  };

  // Null.
  Value() noexcept : type_(Type::Null), word_{0} {}
  // The given kind, empty: false, 0, 0.0, "", {} or [].
  explicit Value(const Type& type);
  // Shares `other`'s container (constant time).
  Value(const Value& other) noexcept : type_(other.type_), word_(other.word_) {
    if (hasContainer()) ++word_.container->count;
  }
  // Takes `other`'s content and leaves `other` null.
  Value(Value&& other) noexcept : type_(other.type_), word_(other.word_) {
    other.type_ = Type::Null;
    other.word_.bits = 0;
  }
  ~Value() {
    if (hasContainer()) release();
  }

  // Shares `other`'s container; self-assignment does nothing.
  Value& operator=(const Value& other) noexcept;
  Value& operator=(Value&& other) noexcept;
  // Same rule as setString, from a NUL-terminated text.
  Value& operator=(const char* text);

  Type type() const noexcept { return type_; }
  [[nodiscard]] bool isNull() const noexcept { return type_ == Type::Null; }
  [[nodiscard]] bool isBool() const noexcept { return type_ == Type::Bool; }
  [[nodiscard]] bool isInteger() const noexcept { return type_ == Type::Integer; }
  [[nodiscard]] bool isDouble() const noexcept { return type_ == Type::Double; }
  [[nodiscard]] bool isNumber() const noexcept { return isInteger() || isDouble(); }
  [[nodiscard]] bool isString() const noexcept { return type_ == Type::String; }
  [[nodiscard]] bool isObject() const noexcept { return type_ == Type::Object; }
  [[nodiscard]] bool isArray() const noexcept { return type_ == Type::Array; }

  // Changes the kind. The same kind keeps the content; another kind drops it and starts empty.
  void setType(const Type& type);
  // Makes this a string holding `text`: assigned in place when this is an unshared string,
  // otherwise a new container replaces whatever was held.
  void setString(const std::string& text);
  void setString(std::string&& text);
  // Builders that take ownership of a ready payload (no copy of the elements, members or text).
  [[nodiscard]] static Value makeString(std::string text) {
    return Value(Type::String, new Container<std::string>(std::move(text)));
  }
  [[nodiscard]] static Value makeArray(Elements elements) {
    return Value(Type::Array, new Container<Elements>(std::move(elements)));
  }
  [[nodiscard]] static Value makeObject(Members members) {
    return Value(Type::Object, new Container<Members>(std::move(members)));
  }
  // Builders of a scalar, for expressions such as `answer["code"] = Value::makeInteger(code)`.
  [[nodiscard]] static Value makeBool(bool value) noexcept {
    Value scalar;
    scalar.setBool(value);
    return scalar;
  }
  [[nodiscard]] static Value makeInteger(long long value) noexcept {
    Value scalar;
    scalar.setInteger(value);
    return scalar;
  }
  [[nodiscard]] static Value makeDouble(double value) noexcept {
    Value scalar;
    scalar.setDouble(value);
    return scalar;
  }

  // Scalar setters: drop any content and hold the scalar.
  void setBool(bool value) noexcept {
    if (hasContainer()) release();
    type_ = Type::Bool;
    word_.bits = 0;
    word_.boolean = value;
  }
  void setInteger(long long value) noexcept {
    if (hasContainer()) release();
    type_ = Type::Integer;
    word_.integer = value;
  }
  void setDouble(double value) noexcept {
    if (hasContainer()) release();
    type_ = Type::Double;
    word_.number = value;
  }

  // Makes this an object (dropping other content, detaching a shared map) and returns the member,
  // inserting it as null when absent.
  Value& operator[](const std::string& key);
  // The member, or s_null() when this is not an object or has no such key. Never inserts.
  const Value& operator[](const std::string& key) const;
  // Makes this an array (dropping other content, detaching a shared vector) and returns the
  // element, growing the array with nulls up to index + 1 elements. Never shrinks.
  Value& operator[](const unsigned long& index);
  // The element, or s_null() when this is not an array or the index is past its end.
  const Value& operator[](const unsigned long& index) const;
  // Makes this an array (as the non-const operator[] does) and appends `element`.
  void push_back(const Value& element);

  // Whether this is an object with the member `key`.
  [[nodiscard]] bool contains(const std::string& key) const;
  // Members of an object, elements of an array, bytes of a string; 0 for every other kind.
  [[nodiscard]] std::size_t size() const noexcept {
    if (!hasContainer()) return 0;
    switch (type_) {
      case Type::String: return as<std::string>()->payload.size();
      case Type::Object: return as<Members>()->payload.size();
      case Type::Array: return as<Elements>()->payload.size();
      default: return 0;
    }
  }

  // Asks the processor to start loading this value's container, if it has one; for walks that
  // know which value they will read next.
  void prefetch() const noexcept {
    if (hasContainer()) __builtin_prefetch(word_.container);
  }

  // Read-only views: empty unless this holds that kind.
  [[nodiscard]] const std::string& stringRef() const noexcept {
    return type_ == Type::String && word_.container ? as<std::string>()->payload : emptyString();
  }
  const Members& members() const noexcept {
    return type_ == Type::Object && word_.container ? as<Members>()->payload : emptyMembers();
  }
  const Elements& elements() const noexcept {
    return type_ == Type::Array && word_.container ? as<Elements>()->payload : emptyElements();
  }

  // Conversions. None throws or changes the value; `def` is returned when the conversion does not
  // apply. Doubles are rounded half away from zero before any integer conversion; strings are
  // read with strtoll in base 0 (toDouble: strtod with "." taken as the locale's decimal point)
  // and must be consumed whole. See value.cpp for the exact range rules of each.
  [[nodiscard]] int toInt(const int& def) const;
  unsigned int toUInt(const unsigned int& def) const;
  [[nodiscard]] long long toLLong(const long long& def) const {
    return type_ == Type::Integer ? word_.integer : convertToLLong(def);
  }
  [[nodiscard]] double toDouble(const double& def) const {
    return type_ == Type::Double ? word_.number : convertToDouble(def);
  }
  // "true"/"false", the integer in decimal, the number text of cairnjson::Double (so also "nan"
  // and "inf"), or the string itself; `def` for every other kind.
  [[nodiscard]] std::string toString(const std::string& def) const;

  // Same kind and same content, compared deeply. Integer 1 and Double 1.0 differ; NaN differs
  // from everything, itself included.
  bool operator==(const Value& other) const;

  // The process-wide null value returned by failed lookups. Never write to it.
  [[nodiscard]] static const Value& s_null();

 private:
  union Word {
    bool boolean;
    long long integer;
    double number;
    AbstractContainer* container;
    std::uint64_t bits;
  };

  [[nodiscard]] bool hasContainer() const noexcept {
    return (static_cast<std::uint32_t>(type_) & kContainerKinds) != 0 && word_.container;
  }
  template <class T>
  Container<T>* as() const noexcept {
    return static_cast<Container<T>*>(word_.container);
  }
  [[nodiscard]] static const std::string& emptyString() noexcept;
  static const Members& emptyMembers() noexcept;
  static const Elements& emptyElements() noexcept;
  [[nodiscard]] long long convertToLLong(const long long& def) const;
  [[nodiscard]] double convertToDouble(const double& def) const;

  // Adopts a freshly built container (use count 1) of the given container kind.
  Value(Type type, AbstractContainer* container) noexcept : type_(type), word_{0} {
    word_.container = container;
  }

  // Same kind and equal scalar or string; for arrays and objects only the same size.
  [[nodiscard]] static bool shallowEquals(const Value& a, const Value& b) noexcept;
  // Drops this Value's use of its container, deleting it (and every container only it kept
  // alive, without recursion) when this was the last use.
  void release() noexcept;
  void makeEmptyContainer();
  // Adopts a freshly built container of the given kind (use count 1).
  void adopt(Type type, AbstractContainer* container) noexcept;
  // Makes this an unshared container of `type` and returns its payload for writing.
  Members& writableMembers();
  Elements& writableElements();

  Type type_;
  Word word_;
};

static_assert(sizeof(Value) == 16, "a Value is a kind tag and one word");

// Whether `value` or anything nested in it is a Double that is NaN or infinite: a value the
// serializer refuses, since JSON has no text for those numbers. Any depth, no recursion.
[[nodiscard]] bool holdsNonFiniteNumber(const Value& value);

}  // namespace cairnjson

#endif  // CAIRNJSON_VALUE_H
