#include "cli/property_list_json.h"

#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>
#include <variant>

namespace quillhaven::cli {
namespace {

using nlohmann::json;
using platform::PropertyList;

// The text between the tags of a value's only element in its XML form, where
// dates and data have their spelling already, without its line breaks.
std::string elementContent(const PropertyList& value) {
  const std::string xml = platform::xmlFromPropertyList(value).value_or("");
  const std::size_t root = xml.find("<plist");
  const std::size_t element = xml.find('<', xml.find('>', root));
  const std::size_t start = xml.find('>', element) + 1;
  std::string content = xml.substr(start, xml.find("</", start) - start);
  std::erase_if(content, [](char c) { return c == '\n' || c == '\t'; });
  return content;
}

// The reverse: reads `content` as that of an element `name`.
std::optional<PropertyList> valueFromElement(std::string_view name,
                                             std::string_view content) {
  if (content.find_first_of("<&") != std::string_view::npos) return {};
  std::string xml = "<";
  xml.append(name).append(">").append(content);
  xml.append("</").append(name).append(">");
  return platform::propertyListFromBytes(xml);
}

std::string textFromReal(double number) {
  char digits[40];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  return {digits, end};
}

class Writer {
 public:
  explicit Writer(JsonWriter& writer) : json_(writer) {}

  void write(const PropertyList& value) {
    std::visit([this, &value](const auto& held) { append(held, value); },
               value.value());
  }

 private:
  void append(const PropertyList::Array& array, const PropertyList&) {
    json_.beginArray();
    for (const PropertyList& element : array) write(element);
    json_.endArray();
  }
  void append(const PropertyList::Dictionary& dictionary, const PropertyList&) {
    json_.beginObject();
    for (const auto& [key, element] : dictionary) {
      json_.key(key);
      write(element);
    }
    json_.endObject();
  }
  void append(double number, const PropertyList&) {
    if (std::isfinite(number)) {
      json_.literal(textFromReal(number));
    } else {
      json_.null();
    }
  }
  void append(const PropertyList::Data&, const PropertyList& value) {
    json_.value(elementContent(value));
  }
  void append(PropertyList::Date, const PropertyList& value) {
    json_.value(elementContent(value));
  }
  template <typename Simple>
  void append(const Simple& simple, const PropertyList&) {
    json_.value(simple);
  }

  JsonWriter& json_;
};

std::optional<PropertyList> valueFromJson(const json& value,
                                          std::size_t depth) {
  if (value.is_boolean()) return PropertyList(value.get<bool>());
  if (value.is_number_unsigned()) return value.get<std::uint64_t>();
  if (value.is_number_integer()) return value.get<std::int64_t>();
  if (value.is_number()) return value.get<double>();
  if (value.is_string()) return value.get<std::string>();
  if (value.is_null() || depth == platform::kMaximumPropertyListDepth) {
    return std::nullopt;
  }
  PropertyList::Array array;
  PropertyList::Dictionary dictionary;
  for (const auto& [key, element] : value.items()) {
    auto held = valueFromJson(element, depth + 1);
    if (!held) return std::nullopt;
    if (value.is_array()) {
      array.push_back(std::move(*held));
    } else {
      dictionary.insert_or_assign(key, std::move(*held));
    }
  }
  if (value.is_array()) return PropertyList(std::move(array));
  return PropertyList(std::move(dictionary));
}

}  // namespace

void writePropertyList(JsonWriter& json, const PropertyList& value) {
  Writer(json).write(value);
}

std::string textFromPropertyList(const PropertyList& value) {
  if (const auto text = value.string()) return std::string(*text);
  if (const auto number = value.real()) return textFromReal(*number);
  if (value.data() != nullptr || value.date()) return elementContent(value);
  std::string text;
  JsonWriter json(text);
  writePropertyList(json, value);
  return text;
}

std::optional<PropertyList> propertyListFromText(std::string_view text,
                                                 std::string_view type) {
  if (type == "string") return PropertyList(text);
  if (type == "bool") {
    for (const std::string_view yes : {"true", "yes", "1"}) {
      if (text == yes) return PropertyList(true);
    }
    for (const std::string_view no : {"false", "no", "0"}) {
      if (text == no) return PropertyList(false);
    }
    return std::nullopt;
  }
  if (type == "int") return valueFromElement("integer", text);
  if (type != "json") return valueFromElement(type, text);
  const json value = json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (value.is_discarded()) return std::nullopt;
  return valueFromJson(value, 0);
}

}  // namespace quillhaven::cli
