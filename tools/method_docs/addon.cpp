// An addon whose export "text" is docs/methods.md as the method table has it. An addon and no
// program, because the handlers in the table need a script host to link against.
//
//   node tools/method_docs/write.mjs            writes the page anew
//   node tools/method_docs/write.mjs --check    fails when the page and the table differ
#include <string>
#include <variant>

#include "bridge/node_api.h"
#include "engine/method_table.h"

namespace {

using namespace kavrin;

std::string callForm(const MethodRecord& record) {
  static constexpr const char* kForms[] = {"`execFun`", "`execJsonParamFun`",
                                           "`execJsonParamFunWithCallback`"};
  return kForms[record.handler.index()];
}

std::string parameterText(const MethodRecord& record) {
  std::string text;
  for (const Parameter& parameter : record.parameters) {
    if (!text.empty()) text += ", ";
    text += std::string("`") + parameter.name + "` " + parameter.type;
  }
  return text.empty() ? "none" : text;
}

std::string groupText(const MethodGroup& group) {
  std::string text = std::string("\n## ") + group.title +
                     "\n\n| Method | Called by | Parameters | Result | What it does |\n" +
                     "|---|---|---|---|---|\n";
  for (const MethodRecord& record : group.methods) {
    text += std::string("| `") + record.name + "` | " + callForm(record) + " | " +
            parameterText(record) + " | " + record.result + " | " + record.description + " |\n";
  }
  return text;
}

std::string pageText() {
  std::string text =
      "# Methods\n\n"
      "<!-- Generated from the method table by tools/method_docs; do not edit. -->\n\n"
      "`execFun` takes the parameters as an array, the other two functions take a JSON text with "
      "the parameters as keys, all of them optional (a missing one counts as false, 0 or empty). "
      "`execJsonParamFunWithCallback` takes a function as its last argument, which is called once "
      "with the engine's code. A method that cannot be called now (no engine, an empty or bad "
      "text) "
      "gives -1 and says why in the log; `execFun` with a wrong number of parameters gives "
      "`undefined`.\n";
  for (const MethodGroup* group : methodGroups()) text += groupText(*group);
  return text;
}

}  // namespace

extern "C" NAPI_MODULE_EXPORT napi_value napi_register_module_v1(napi_env env, napi_value exports) {
  const std::string page = pageText();
  napi_value text = nullptr;
  napi_create_string_utf8(env, page.data(), page.size(), &text);
  napi_set_named_property(env, exports, "text", text);
  return exports;
}
