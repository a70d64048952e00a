// Values of the script host that stands in for Node in the unit tests.
//
// A napi_value points at one of these. Values live as long as their environment; there is no
// garbage collector.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bridge/node_api.h"

namespace kavrin::fake {

// A function of script's: gets its receiver and arguments, and returns a value or null for
// undefined. It throws with ScriptEnvironment::throwError().
using ScriptFunction =
    std::function<napi_value(napi_value receiver, const std::vector<napi_value>&)>;

struct Property {
  std::string key;
  napi_value value = nullptr;
  std::function<napi_value()> getter;  // asked instead of `value` when it is set
};

}  // namespace kavrin::fake

struct napi_value__ {
  napi_valuetype type = napi_undefined;
  bool boolean = false;
  double number = 0;
  std::string text;
  void* external = nullptr;
  bool hasFinalizer = false;  // of an external

  // Objects.
  std::vector<kavrin::fake::Property> properties;  // in the order of their creation
  bool isArray = false;
  std::vector<napi_value> elements;  // of an array; null is a hole
  bool isBuffer = false;
  std::vector<unsigned char> bytes;  // of a buffer
  bool detached = false;

  kavrin::fake::ScriptFunction function;

  const kavrin::fake::Property* find(const std::string& key) const;
  void set(const std::string& key, napi_value value);
  void setElement(std::uint32_t index, napi_value value);
  // Null when there is none.
  napi_value element(std::uint32_t index) const;
};

namespace kavrin::fake {

// A value in one line, objects in the order of their properties:
// {"id":1,"list":[true,null,"a"],"data":<Buffer 00 ff>}. Holes are shown as "hole".
std::string show(napi_value value);

}  // namespace kavrin::fake
