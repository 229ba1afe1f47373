// The add-on's binding: the module record, `init` with the method table, and the conversion of
// script arguments and results. Everything else lives in the subsystem folders as plain C++.
#include <node.h>

#include <cstring>
#include <string>

#include "diff/merge_conflicts.h"
#include "filters/advanced_filters.h"
#include "hunk/hunk_operation.h"

namespace {

using Info = v8::FunctionCallbackInfo<v8::Value>;

// Returns the UTF-8 bytes of `value`, converting a non-string by the script's own rules. A
// conversion that throws reads as the empty string, and zero characters stay in the result.
std::string getStringFromV8(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  v8::String::Utf8Value utf8(isolate, value);
  if (utf8.length() == 0) return std::string();
  return std::string(*utf8, static_cast<std::size_t>(utf8.length()));
}

// Returns argument `index`, or undefined past the end of the call's arguments.
v8::Local<v8::Value> argument(const Info& info, int index) { return info[index]; }

std::string stringArgument(const Info& info, int index) {
  return getStringFromV8(info.GetIsolate(), argument(info, index));
}

// Sets `text`, up to its first zero byte, as the call's result; a text the host cannot make
// into a string (too long) leaves the result undefined.
void returnString(const Info& info, const std::string& text) {
  v8::Local<v8::String> result;
  if (v8::String::NewFromUtf8(info.GetIsolate(), text.c_str(), v8::NewStringType::kNormal, -1)
          .ToLocal(&result)) {
    info.GetReturnValue().Set(result);
  }
}

// Runs `body` so that no C++ exception (an allocation that fails on a huge text) reaches the
// script: the result then stays undefined.
template <typename Body>
void guarded(Body body) {
  try {
    body();
  } catch (...) {
  }
}

void styleMergeConflicts(const Info& info) {
  guarded([&] {
    const std::string text = stringArgument(info, 0);
    returnString(info, tarnwick::styleMergeConflicts(text));
  });
}

// Reads the patch text and the repository folder, runs `operation` and sets its answer as the
// call's result; an exception on the way (an allocation that fails) answers false.
template <typename Operation>
void hunkMethod(const Info& info, Operation operation) {
  bool applied = false;
  guarded([&] {
    const std::string patchText = stringArgument(info, 0);
    const std::string repoPath = stringArgument(info, 1);
    applied = operation(patchText, repoPath);
  });
  info.GetReturnValue().Set(applied);
}

void gitRepoStageHunk(const Info& info) { hunkMethod(info, tarnwick::gitRepoStageHunk); }

void gitRepoUnstageHunk(const Info& info) { hunkMethod(info, tarnwick::gitRepoUnstageHunk); }

void gitRepoDiscardHunk(const Info& info) { hunkMethod(info, tarnwick::gitRepoDiscardHunk); }

void getAdvancedFiltersHTML(const Info& info) {
  guarded([&] { returnString(info, tarnwick::getAdvancedFiltersHTML()); });
}

struct Method {
  const char* name;
  v8::FunctionCallback callback;
};

// The script's names, in the order in which they appear on the exports object.
const Method kMethods[] = {
    {"smc", styleMergeConflicts},
    {"grsh", gitRepoStageHunk},
    {"gruh", gitRepoUnstageHunk},
    {"grdh", gitRepoDiscardHunk},
    {"gafh", getAdvancedFiltersHTML},
};

void init(v8::Local<v8::Object> exports) {
  for (const Method& method : kMethods) NODE_SET_METHOD(exports, method.name, method.callback);
}

// The module record, handed to the host when it loads the file.
node::node_module utilsModule = {
    NODE_MODULE_VERSION,  // the ABI version of the headers this file is built with
    0,                    // an ordinary add-on
    nullptr,
    __FILE__,
    // The host calls the register function with more arguments than `init` reads, as for every
    // add-on that registers this way.
    reinterpret_cast<node::addon_register_func>(reinterpret_cast<void (*)()>(init)),
    nullptr,
    "utils",
    nullptr,
    nullptr,
};

__attribute__((constructor)) void _register_utils() { node_module_register(&utilsModule); }

}  // namespace
