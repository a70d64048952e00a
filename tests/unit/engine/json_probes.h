// What reading a JSON text comes to, for the tests of the readers.
#pragma once

#include <stdexcept>
#include <string>

#include "engine/json_reader.h"

namespace kavrin {

// What reading `text` throws; "" when it does not.
template <typename Work>
std::string thrownBy(Work work) {
  try {
    work();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return {};
}

inline std::string parseError(const std::string& text) {
  return thrownBy([&] { JsonText parsed(text); });
}

struct Everything {
  std::string text = "before";
  std::int32_t number = 77;
  bool flag = true;
  IntegerList list = {7, 7};

  static constexpr std::array<Field<Everything>, 4> kFields{{{"text", &Everything::text},
                                                             {"number", &Everything::number},
                                                             {"flag", &Everything::flag},
                                                             {"list", &Everything::list}}};
};

struct Outcome {
  bool present = false;
  Everything record;
  std::string thrown;
};

inline Outcome decode(const std::string& json) {
  Outcome outcome;
  outcome.thrown = thrownBy([&] { outcome.present = decodeJson(json, outcome.record); });
  return outcome;
}

}  // namespace kavrin
