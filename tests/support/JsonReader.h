// A small strict JSON reader for checking what programs print: one value per text,
// objects with their keys in the order written.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quorvane::testing {

class JsonValue {
 public:
  enum class Type { Null, Bool, Number, String, Array, Object };

  Type type = Type::Null;
  bool boolean = false;
  double number = 0.0;
  std::string text;  // a string's value, or a number as written
  std::vector<JsonValue> elements;
  std::vector<std::pair<std::string, JsonValue>> members;

  bool IsObject() const { return type == Type::Object; }
  bool Has(const std::string& key) const;
  // Throws std::out_of_range when the key is missing or the value is not an object.
  const JsonValue& operator[](const std::string& key) const;
  // Throws std::out_of_range when the index is outside or the value is not an array.
  const JsonValue& operator[](size_t index) const;
  size_t Size() const { return type == Type::Array ? elements.size() : members.size(); }
  std::vector<std::string> Keys() const;

  // A number without fraction or exponent; throws otherwise.
  int64_t Int() const;
  // A string's value; throws for any other type.
  const std::string& String() const;
  // A bool's value; throws for any other type.
  bool Bool() const;
  // Every element of an array of whole numbers; throws otherwise.
  std::vector<int64_t> Ints() const;
};

// The one JSON value the text holds (blanks around it allowed); nothing for anything else.
std::optional<JsonValue> ParseJson(std::string_view text);

}  // namespace quorvane::testing
