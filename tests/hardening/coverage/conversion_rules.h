// What holds for every conversion.
#pragma once

#include "bridge/variant.h"

namespace kavrin {

// How exact a script value has to be.
enum class Exactness {
  kWhole,    // just what the Variant says
  kPartial,  // the same, but values that could not be created may be missing
};

// `made` is what the Variant `value` has to become.
bool matches(const Variant& value, napi_value made, Exactness exactness);

// `read` is what the script value `value` has to become.
bool isReadingOf(const Variant& read, napi_value value);

// Both are of one kind and hold equal values, NaN being equal to itself.
bool same(const Variant& left, const Variant& right);

}  // namespace kavrin
