#include "tests/support/JsonReader.h"

#include <charconv>
#include <cstdlib>
#include <stdexcept>

namespace quorvane::testing {

namespace {

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  std::optional<JsonValue> Document() {
    JsonValue value;
    Blanks();
    if (!Value(value, 0)) return std::nullopt;
    Blanks();
    if (at_ != text_.size()) return std::nullopt;
    return value;
  }

 private:
  static constexpr int kDeepest = 64;

  bool Value(JsonValue& value, int depth) {
    if (depth > kDeepest || at_ >= text_.size()) return false;
    switch (text_[at_]) {
      case '{':
        return Object(value, depth);
      case '[':
        return Array(value, depth);
      case '"':
        value.type = JsonValue::Type::String;
        return String(value.text);
      case 't':
        value.type = JsonValue::Type::Bool;
        value.boolean = true;
        return Word("true");
      case 'f':
        value.type = JsonValue::Type::Bool;
        return Word("false");
      case 'n':
        return Word("null");
      default:
        return Number(value);
    }
  }

  bool Object(JsonValue& value, int depth) {
    value.type = JsonValue::Type::Object;
    ++at_;
    Blanks();
    if (Take('}')) return true;
    for (;;) {
      Blanks();
      std::string key;
      if (at_ >= text_.size() || text_[at_] != '"' || !String(key)) return false;
      Blanks();
      if (!Take(':')) return false;
      Blanks();
      JsonValue member;
      if (!Value(member, depth + 1)) return false;
      value.members.emplace_back(std::move(key), std::move(member));
      Blanks();
      if (Take('}')) return true;
      if (!Take(',')) return false;
    }
  }

  bool Array(JsonValue& value, int depth) {
    value.type = JsonValue::Type::Array;
    ++at_;
    Blanks();
    if (Take(']')) return true;
    for (;;) {
      Blanks();
      JsonValue element;
      if (!Value(element, depth + 1)) return false;
      value.elements.push_back(std::move(element));
      Blanks();
      if (Take(']')) return true;
      if (!Take(',')) return false;
    }
  }

  bool String(std::string& out) {
    ++at_;  // the opening quote
    while (at_ < text_.size()) {
      const char c = text_[at_++];
      if (c == '"') return true;
      if (static_cast<unsigned char>(c) < 0x20) return false;
      if (c != '\\') {
        out += c;
        continue;
      }
      if (at_ >= text_.size()) return false;
      const char escape = text_[at_++];
      switch (escape) {
        case '"':
        case '\\':
        case '/':
          out += escape;
          break;
        case 'b':
          out += '\b';
          break;
        case 'f':
          out += '\f';
          break;
        case 'n':
          out += '\n';
          break;
        case 'r':
          out += '\r';
          break;
        case 't':
          out += '\t';
          break;
        case 'u': {
          uint32_t code = 0;
          if (!Hex4(code)) return false;
          if (code >= 0xD800 && code <= 0xDBFF) {
            uint32_t low = 0;
            if (!Take('\\') || !Take('u') || !Hex4(low) || low < 0xDC00 || low > 0xDFFF) {
              return false;
            }
            code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
          } else if (code >= 0xDC00 && code <= 0xDFFF) {
            return false;
          }
          Utf8(code, out);
          break;
        }
        default:
          return false;
      }
    }
    return false;
  }

  bool Hex4(uint32_t& code) {
    if (at_ + 4 > text_.size()) return false;
    const auto [end, error] = std::from_chars(text_.data() + at_, text_.data() + at_ + 4, code, 16);
    if (error != std::errc() || end != text_.data() + at_ + 4) return false;
    at_ += 4;
    return true;
  }

  static void Utf8(uint32_t code, std::string& out) {
    if (code < 0x80) {
      out += static_cast<char>(code);
    } else if (code < 0x800) {
      out += static_cast<char>(0xC0 | (code >> 6));
      out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
      out += static_cast<char>(0xE0 | (code >> 12));
      out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (code >> 18));
      out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (code & 0x3F));
    }
  }

  // -? (0 | [1-9][0-9]*) (. [0-9]+)? ([eE] [+-]? [0-9]+)?
  bool Number(JsonValue& value) {
    const size_t start = at_;
    Take('-');
    if (Take('0')) {
    } else if (!Digits()) {
      return false;
    }
    if (Take('.') && !Digits()) return false;
    if (Take('e') || Take('E')) {
      if (!Take('+')) Take('-');
      if (!Digits()) return false;
    }
    value.type = JsonValue::Type::Number;
    value.text = std::string(text_.substr(start, at_ - start));
    value.number = std::strtod(value.text.c_str(), nullptr);
    return true;
  }

  bool Digits() {
    const size_t start = at_;
    while (at_ < text_.size() && text_[at_] >= '0' && text_[at_] <= '9') ++at_;
    return at_ > start;
  }

  bool Word(std::string_view word) {
    if (text_.substr(at_, word.size()) != word) return false;
    at_ += word.size();
    return true;
  }

  bool Take(char c) {
    if (at_ < text_.size() && text_[at_] == c) {
      ++at_;
      return true;
    }
    return false;
  }

  void Blanks() {
    while (at_ < text_.size() &&
           (text_[at_] == ' ' || text_[at_] == '\t' || text_[at_] == '\n' || text_[at_] == '\r')) {
      ++at_;
    }
  }

  std::string_view text_;
  size_t at_ = 0;
};

}  // namespace

bool JsonValue::Has(const std::string& key) const {
  if (type != Type::Object) return false;
  for (const auto& [name, value] : members) {
    if (name == key) return true;
  }
  return false;
}

const JsonValue& JsonValue::operator[](const std::string& key) const {
  if (type == Type::Object) {
    for (const auto& [name, value] : members) {
      if (name == key) return value;
    }
  }
  throw std::out_of_range("no JSON member \"" + key + "\"");
}

const JsonValue& JsonValue::operator[](size_t index) const {
  if (type != Type::Array || index >= elements.size()) {
    throw std::out_of_range("no JSON element " + std::to_string(index));
  }
  return elements[index];
}

std::vector<std::string> JsonValue::Keys() const {
  std::vector<std::string> keys;
  for (const auto& member : members) keys.push_back(member.first);
  return keys;
}

int64_t JsonValue::Int() const {
  if (type != Type::Number || text.find_first_of(".eE") != std::string::npos) {
    throw std::invalid_argument("not a whole JSON number: " + text);
  }
  return std::stoll(text);
}

const std::string& JsonValue::String() const {
  if (type != Type::String) throw std::invalid_argument("not a JSON string");
  return text;
}

bool JsonValue::Bool() const {
  if (type != Type::Bool) throw std::invalid_argument("not a JSON bool");
  return boolean;
}

std::vector<int64_t> JsonValue::Ints() const {
  if (type != Type::Array) throw std::invalid_argument("not a JSON array");
  std::vector<int64_t> values;
  values.reserve(elements.size());
  for (const JsonValue& element : elements) values.push_back(element.Int());
  return values;
}

std::optional<JsonValue> ParseJson(std::string_view text) { return Parser(text).Document(); }

}  // namespace quorvane::testing
