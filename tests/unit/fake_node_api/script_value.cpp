#include "tests/unit/fake_node_api/script_value.h"

#include <algorithm>
#include <cstdio>

const kavrin::fake::Property* napi_value__::find(const std::string& key) const {
  const auto found = std::find_if(properties.begin(), properties.end(),
                                  [&](const auto& p) { return p.key == key; });
  return found == properties.end() ? nullptr : &*found;
}

void napi_value__::set(const std::string& key, napi_value value) {
  for (auto& property : properties) {
    if (property.key == key) {
      property.value = value;
      return;
    }
  }
  properties.push_back({key, value, {}});
}

void napi_value__::setElement(std::uint32_t index, napi_value value) {
  if (!isArray) return set(std::to_string(index), value);
  if (index >= elements.size()) elements.resize(index + std::size_t{1});
  elements[index] = value;
}

napi_value napi_value__::element(std::uint32_t index) const {
  if (isArray) return index < elements.size() ? elements[index] : nullptr;
  const kavrin::fake::Property* property = find(std::to_string(index));
  return property == nullptr ? nullptr : property->value;
}

namespace kavrin::fake {
namespace {

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '\0') {
      result += "\\0";
    } else if (c == '"' || c == '\\') {
      result += std::string("\\") + c;
    } else {
      result += c;
    }
  }
  return result + "\"";
}

std::string shownNumber(double number) {
  char text[64];
  std::snprintf(text, sizeof text, "%.17g", number);
  return text;
}

std::string shownBuffer(const napi_value__& buffer) {
  if (buffer.detached) return "<Buffer detached>";
  std::string result = "<Buffer";
  for (const unsigned char byte : buffer.bytes) {
    char text[8];
    std::snprintf(text, sizeof text, " %02x", byte);
    result += text;
  }
  return result + ">";
}

std::string shownArray(const napi_value__& array) {
  std::string result;
  for (const napi_value element : array.elements) {
    result += (result.empty() ? "" : ",") + (element == nullptr ? "hole" : show(element));
  }
  return "[" + result + "]";
}

std::string shownObject(const napi_value__& object) {
  if (object.isBuffer) return shownBuffer(object);
  if (object.isArray) return shownArray(object);
  std::string result;
  for (const Property& property : object.properties) {
    const std::string value = property.getter ? "<getter>" : show(property.value);
    result += (result.empty() ? "" : ",") + quoted(property.key) + ":" + value;
  }
  return "{" + result + "}";
}

}  // namespace

std::string show(napi_value value) {
  if (value == nullptr) return "<no handle>";
  switch (value->type) {
    case napi_undefined:
      return "undefined";
    case napi_null:
      return "null";
    case napi_boolean:
      return value->boolean ? "true" : "false";
    case napi_number:
      return shownNumber(value->number);
    case napi_string:
      return quoted(value->text);
    case napi_object:
      return shownObject(*value);
    case napi_function:
      return "<function>";
    case napi_external:
      return "<external>";
    case napi_symbol:
      return "<symbol>";
    default:
      return "<bigint>";
  }
}

}  // namespace kavrin::fake
