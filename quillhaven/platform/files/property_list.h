// Property lists: the value type, and reading and writing of their files.
#ifndef QUILLHAVEN_PLATFORM_FILES_PROPERTY_LIST_H_
#define QUILLHAVEN_PLATFORM_FILES_PROPERTY_LIST_H_

#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace quillhaven::platform {

// What a property list may hold at most; what holds more reads as absent. All
// far above what any bundle or suite of defaults comes to.
inline constexpr std::size_t kMaximumPropertyListSize = std::size_t{16} << 20;
inline constexpr std::size_t kMaximumPropertyListDepth = 512;  // containers
inline constexpr std::size_t kMaximumPropertyListValues = std::size_t{1} << 20;

// One value of a property list: a boolean, a number, text, data, a date, an
// array or a dictionary. The types stay apart: 1 is not true, and 1.0 is not 1.
// Dictionaries are sorted by key, so that equal ones are written alike.
class PropertyList {
 public:
  // Bytes that need not be text.
  struct Data {
    std::string bytes;
    bool operator==(const Data&) const = default;
  };
  using Date = std::chrono::sys_time<std::chrono::microseconds>;
  using Array = std::vector<PropertyList>;
  using Dictionary = std::map<std::string, PropertyList, std::less<>>;
  // An unsigned integer is one above the largest signed one.
  using Value = std::variant<bool, std::int64_t, std::uint64_t, double,
                             std::string, Data, Date, Array, Dictionary>;

  // Each value converts, so that a literal can be written where a property list
  // is asked for. Text must be valid UTF-8.
  // NOLINTBEGIN(google-explicit-constructor)
  PropertyList(std::same_as<bool> auto truth) : value_(truth) {}
  template <std::integral Number>
  requires(!std::same_as<Number, bool>) PropertyList(Number number)
      : PropertyList(static_cast<std::uint64_t>(number),
                     std::cmp_less(number, 0)) {}
  PropertyList(double number) : value_(number) {}
  PropertyList(std::string text);
  PropertyList(std::string_view text);
  PropertyList(const char* text);
  PropertyList(Data data);
  PropertyList(Date date) : value_(date) {}
  PropertyList(Array array);
  PropertyList(Dictionary dictionary);
  // NOLINTEND(google-explicit-constructor)
  PropertyList(const PropertyList& other);
  PropertyList(PropertyList&& other) noexcept;
  PropertyList& operator=(const PropertyList& other);
  PropertyList& operator=(PropertyList&& other) noexcept;
  ~PropertyList();

  [[nodiscard]] const Value& value() const { return value_; }
  [[nodiscard]] Value& value() { return value_; }

  // The value if it is of the type named, else nothing. An integer is a signed
  // one here; the text is valid as long as the value stays as it is.
  [[nodiscard]] std::optional<bool> boolean() const { return copy<bool>(); }
  [[nodiscard]] std::optional<std::int64_t> integer() const {
    return copy<std::int64_t>();
  }
  [[nodiscard]] std::optional<double> real() const { return copy<double>(); }
  [[nodiscard]] std::optional<Date> date() const { return copy<Date>(); }
  [[nodiscard]] std::optional<std::string_view> string() const {
    if (const auto* text = std::get_if<std::string>(&value_)) return *text;
    return std::nullopt;
  }
  // Null if the value is of another type.
  [[nodiscard]] const Data* data() const { return std::get_if<Data>(&value_); }
  [[nodiscard]] const Array* array() const {
    return std::get_if<Array>(&value_);
  }
  [[nodiscard]] const Dictionary* dictionary() const {
    return std::get_if<Dictionary>(&value_);
  }

  bool operator==(const PropertyList&) const = default;

 private:
  // An integer of 64 bits, which count as signed if it is negative.
  PropertyList(std::uint64_t bits, bool isNegative);

  template <typename Type>
  [[nodiscard]] std::optional<Type> copy() const {
    if (const auto* value = std::get_if<Type>(&value_)) return *value;
    return std::nullopt;
  }

  Value value_;
};

// Returns the property list that `bytes` hold in the XML or the binary form, or
// nothing if they are neither, are damaged or go beyond a limit above. Takes
// time and memory linear in their size, whatever they hold. Of equal keys in a
// dictionary the last one counts. A unique identifier of a keyed archive is a
// dictionary with the key "CF$UID", a set is an array, and an unpaired
// surrogate is U+FFFD.
[[nodiscard]] std::optional<PropertyList> propertyListFromBytes(
    std::string_view bytes);

// Returns the property list in the file at `path`, or nothing if the file
// cannot be read or holds none.
[[nodiscard]] std::optional<PropertyList> propertyListFromFile(
    const std::string& path);

// Returns the XML form, which propertyListFromBytes() reads back to an equal
// value, but for fractions of a second in dates, which it cannot hold. Control
// characters are written as character references, although other readers may
// refuse those. Nothing for a value beyond a limit above.
[[nodiscard]] std::optional<std::string> xmlFromPropertyList(
    const PropertyList& propertyList);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_FILES_PROPERTY_LIST_H_
