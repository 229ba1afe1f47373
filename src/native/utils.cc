// The add-on's binding: the module record, `init` with the method table, and the conversion of
// script arguments and results. Everything else lives in the subsystem folders as plain C++.
#include <node.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "convert/script_units.h"
#include "convert/text_block.h"
#include "convert/utf8_codec.h"
#include "diff/color_diff.h"
#include "diff/color_diff_units.h"
#include "diff/merge_conflicts.h"
#include "filters/advanced_filters.h"
#include "hunk/hunk_operation.h"
#include "mergetool/code_view.h"
#include "mergetool/commit_list.h"
#include "memory/page_block.h"
#include "stay_loaded.h"
#include "v8_shims.h"

namespace {

using Info = v8::FunctionCallbackInfo<v8::Value>;

// Returns in `text` the string of `value`, converting a non-string by the script's own rules;
// returns false when that conversion throws.
bool scriptString(v8::Isolate* isolate, v8::Local<v8::Value> value, v8::Local<v8::String>* text) {
  if (value->IsString()) {
    *text = value.As<v8::String>();
    return true;
  }
  v8::TryCatch swallow(isolate);
  return value->ToString(isolate->GetCurrentContext()).ToLocal(text);
}

// Calls `take(units, count)` with the characters of the two-byte reading of `text` a slice at a
// time, so that only the result takes fresh memory; a surrogate pair is never cut between slices.
template <typename Take>
void forEachUtf16Slice(v8::Isolate* isolate, v8::Local<v8::String> text, Take take) {
  constexpr int kSlice = 8 * 1024;
  std::uint16_t units[kSlice];
  const int length = text->Length();
  for (int start = 0; start < length;) {
    int count = length - start < kSlice ? length - start : kSlice;
    tarnwick::v8shims::writeTwoByte(isolate, text, start, count, units);
    if (start + count < length && count > 1 && units[count - 1] >= 0xD800 && units[count - 1] < 0xDC00) --count;
    take(units, static_cast<std::size_t>(count));
    start += count;
  }
}

// Returns the UTF-8 bytes of `value` (see TextBlock), HTML-escaped when `escapeHtml`: a
// non-string goes through the script's own conversion, one that throws reads as the empty string,
// and zero characters stay. The bytes of v8::String::Utf8Value (lone surrogates in their
// three-byte form), without its length pass and extra copy: the characters are copied out a
// slice at a time and encoded here.
tarnwick::TextBlock getTextFromV8(v8::Isolate* isolate, v8::Local<v8::Value> value, bool escapeHtml) {
  v8::Local<v8::String> text;
  if (!scriptString(isolate, value, &text)) return tarnwick::TextBlock(0, true, escapeHtml);
  const int length = text->Length();
  tarnwick::TextBlock out(static_cast<std::size_t>(length), text->IsOneByte(), escapeHtml);
  if (text->IsOneByte()) {
    constexpr int kSlice = 16 * 1024;
    std::uint8_t chars[kSlice];
    for (int start = 0; start < length; start += kSlice) {
      const int count = length - start < kSlice ? length - start : kSlice;
      tarnwick::v8shims::writeOneByte(isolate, text, start, count, chars);
      out.addLatin1(chars, static_cast<std::size_t>(count));
    }
  } else {
    forEachUtf16Slice(isolate, text, [&](const std::uint16_t* units, std::size_t count) { out.addUtf16(units, count); });
  }
  return out;
}

// Returns getTextFromV8's bytes, unescaped, as a string: the small arguments of the other methods.
std::string getStringFromV8(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  const tarnwick::TextBlock text = getTextFromV8(isolate, value, false);
  return std::string(text.data(), text.size());
}

// Returns argument `index`, or undefined past the end of the call's arguments.
v8::Local<v8::Value> argument(const Info& info, int index) { return info[index]; }

std::string stringArgument(const Info& info, int index) {
  return getStringFromV8(info.GetIsolate(), argument(info, index));
}

// The most characters a script string can have: a view that grows past it is stopped.
constexpr std::size_t kLongestString = static_cast<std::size_t>(v8::String::kMaxLength);

// Owns the bytes of an ASCII result while the script holds the string made from it.
class AsciiResult final : public v8::String::ExternalOneByteStringResource {
 public:
  explicit AsciiResult(std::string text) : text_(std::move(text)) {}
  const char* data() const override { return text_.data(); }
  std::size_t length() const override { return text_.size(); }

 private:
  std::string text_;
};

// Owns the characters of a result, one byte or two each, while the script holds the string made
// from them; the block then goes back for reuse. The host is told of the memory, as for any
// memory a script value keeps outside its heap, so that it collects dropped results soon enough
// for their blocks to serve the next ones.
template <typename Resource, typename Unit>
class BlockResult final : public Resource {
 public:
  BlockResult(v8::Isolate* isolate, tarnwick::PageBlock block, std::size_t length)
      : isolate_(isolate), block_(std::move(block)), length_(length) {
    isolate_->AdjustAmountOfExternalAllocatedMemory(static_cast<std::int64_t>(block_.capacity()));
  }
  ~BlockResult() override {
    isolate_->AdjustAmountOfExternalAllocatedMemory(-static_cast<std::int64_t>(block_.capacity()));
  }
  const Unit* data() const override { return reinterpret_cast<const Unit*>(block_.data()); }
  std::size_t length() const override { return length_; }

 private:
  v8::Isolate* const isolate_;
  tarnwick::PageBlock block_;
  std::size_t length_;
};

// Sets the characters of `units` as the call's result: handed over in place from 256 KB up,
// copied below; when they were not made as characters, the bytes they hold are left to the
// host's decoder, whose replacement characters are then exactly its own; a result longer than the
// host's longest string leaves the result undefined.
void returnUnits(const Info& info, tarnwick::ScriptUnits units) {
  v8::Isolate* isolate = info.GetIsolate();
  if (units.tooLong || units.length > static_cast<std::size_t>(v8::String::kMaxLength)) return;
  const int length = static_cast<int>(units.length);
  const bool external = units.length * (units.twoByte ? 2 : 1) >= tarnwick::kExternalResultBytes;
  v8::MaybeLocal<v8::String> made;
  if (!units.made) {
    made = v8::String::NewFromUtf8(isolate, units.block.data(), v8::NewStringType::kNormal, length);
  } else if (length == 0) {
    made = v8::String::Empty(isolate);
  } else if (units.twoByte) {
    made = external ? v8::String::NewExternalTwoByte(
                          isolate, new BlockResult<v8::String::ExternalStringResource, std::uint16_t>(
                                       isolate, std::move(units.block), units.length))
                    : v8::String::NewFromTwoByte(isolate, reinterpret_cast<const std::uint16_t*>(units.block.data()),
                                                 v8::NewStringType::kNormal, length);
  } else {
    made = external ? v8::String::NewExternalOneByte(
                          isolate, new BlockResult<v8::String::ExternalOneByteStringResource, char>(
                                       isolate, std::move(units.block), units.length))
                    : v8::String::NewFromOneByte(isolate, reinterpret_cast<const std::uint8_t*>(units.block.data()),
                                                 v8::NewStringType::kNormal, length);
  }
  v8::Local<v8::String> result;
  if (made.ToLocal(&result)) info.GetReturnValue().Set(result);
}

// Sets `text`, up to its first zero byte, as the call's result (see returnUnits), the string that
// v8::String::NewFromUtf8 gives; an ASCII text is handed over as it is.
void returnString(const Info& info, std::string text) {
  const void* zero = std::memchr(text.data(), 0, text.size());
  if (zero != nullptr) text.resize(static_cast<std::size_t>(static_cast<const char*>(zero) - text.data()));
  if (tarnwick::asciiPrefixLength(text.data(), text.size()) != text.size()) {
    returnUnits(info, tarnwick::scriptUnits(text.data(), text.size(), false, false, kLongestString));
    return;
  }
  if (text.size() > static_cast<std::size_t>(v8::String::kMaxLength)) return;
  v8::Isolate* isolate = info.GetIsolate();
  const int length = static_cast<int>(text.size());
  v8::MaybeLocal<v8::String> made =
      text.size() >= tarnwick::kExternalResultBytes
          ? v8::String::NewExternalOneByte(isolate, new AsciiResult(std::move(text)))
          : v8::String::NewFromOneByte(isolate, reinterpret_cast<const std::uint8_t*>(text.data()),
                                       v8::NewStringType::kNormal, length);
  v8::Local<v8::String> result;
  if (made.ToLocal(&result)) info.GetReturnValue().Set(result);
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

bool booleanArgument(const Info& info, int index) {
  return tarnwick::v8shims::booleanValue(info.GetIsolate(), argument(info, index));
}

// Returns whether argument `index` is an object whose property `name` is truthy: the options of
// "cd". A getter that throws reads as false.
bool optionArgument(const Info& info, int index, const char* name) {
  const v8::Local<v8::Value> options = argument(info, index);
  if (!options->IsObject()) return false;
  v8::Isolate* isolate = info.GetIsolate();
  v8::TryCatch swallow(isolate);
  v8::Local<v8::Value> value;
  return options.As<v8::Object>()
             ->Get(isolate->GetCurrentContext(),
                   v8::String::NewFromUtf8(isolate, name, v8::NewStringType::kNormal).ToLocalChecked())
             .ToLocal(&value) &&
         tarnwick::v8shims::booleanValue(isolate, value);
}

// The diff view is rendered straight into the characters of the result (see colorDiffUnits). With
// { escapeHtml: true } as argument 3, the text is escaped as it is read, as if the script had.
void colorDiff(const Info& info) {
  if (info.Length() < 3) return;
  guarded([&] {
    const tarnwick::TextBlock text = getTextFromV8(info.GetIsolate(), argument(info, 0), optionArgument(info, 3, "escapeHtml"));
    const bool showColorPreviews = booleanArgument(info, 1);
    const bool markAddedRemoved = booleanArgument(info, 2);
    const bool words = optionArgument(info, 3, "words");
    returnUnits(info, tarnwick::colorDiffUnits(text.data(), text.size(), text.units(), text.oneByte(), showColorPreviews,
                                               markAddedRemoved, words, false, kLongestString));
  });
}

// A result longer than the longest string is never built.
void styleMergeConflicts(const Info& info) {
  guarded([&] {
    const tarnwick::TextBlock text = getTextFromV8(info.GetIsolate(), argument(info, 0), false);
    returnUnits(info, tarnwick::styledMergeConflictUnits(text.data(), text.size(), text.units(), text.oneByte(), false,
                                                         kLongestString));
  });
}

// Reads the patch and the repository folder, applies the hunk with `operation` and answers
// whether git reported no error; anything thrown on the way answers false.
void hunkOperation(const Info& info, bool (*operation)(const std::string&, const std::string&)) {
  bool applied = false;
  guarded([&] {
    const std::string patchText = stringArgument(info, 0);
    const std::string repoPath = stringArgument(info, 1);
    applied = operation(patchText, repoPath);
  });
  info.GetReturnValue().Set(applied);
}

void gitRepoStageHunk(const Info& info) { hunkOperation(info, tarnwick::gitRepoStageHunk); }
void gitRepoUnstageHunk(const Info& info) { hunkOperation(info, tarnwick::gitRepoUnstageHunk); }
void gitRepoDiscardHunk(const Info& info) { hunkOperation(info, tarnwick::gitRepoDiscardHunk); }

void getAdvancedFiltersHTML(const Info& info) {
  guarded([&] { returnString(info, tarnwick::getAdvancedFiltersHTML()); });
}

void mergeToolGetCommitsListDropdown(const Info& info) {
  guarded([&] {
    const std::string filePath = stringArgument(info, 0);
    const std::string repoPath = stringArgument(info, 1);
    const std::string selectedHash = stringArgument(info, 2);
    std::optional<std::string> options =
        tarnwick::mergeToolGetCommitsListDropdown(filePath, repoPath, selectedHash, kLongestString);
    if (options) returnString(info, std::move(*options));
  });
}

// An optional string argument: null reads as the empty string, anything else (undefined
// included) by the script's string conversion.
std::string optionalStringArgument(const Info& info, int index) {
  const v8::Local<v8::Value> value = argument(info, index);
  if (value->IsNull()) return std::string();
  return getStringFromV8(info.GetIsolate(), value);
}

void mergeToolGetCodeHTML(const Info& info) {
  guarded([&] {
    const std::string filePath = stringArgument(info, 0);
    const std::string repoPath = stringArgument(info, 1);
    const std::string baseColor = stringArgument(info, 2);
    const std::string contentText = optionalStringArgument(info, 3);
    std::optional<std::string> view =
        tarnwick::mergeToolGetCodeHTML(filePath, repoPath, baseColor, contentText, kLongestString);
    if (view) returnString(info, std::move(*view));
  });
}

struct Method {
  const char* name;
  v8::FunctionCallback callback;
};

// The script's names, in the order in which they appear on the exports object.
const Method kMethods[] = {
    {"cd", colorDiff},
    {"smc", styleMergeConflicts},
    {"grsh", gitRepoStageHunk},
    {"gruh", gitRepoUnstageHunk},
    {"grdh", gitRepoDiscardHunk},
    {"gafh", getAdvancedFiltersHTML},
    {"mtgcld", mergeToolGetCommitsListDropdown},
    {"mtgch", mergeToolGetCodeHTML},
};

void init(v8::Local<v8::Object> exports) {
  // Results handed over in place outlive the context that made them (see stay_loaded.h).
  tarnwick::stayLoaded(reinterpret_cast<const void*>(&init));
  for (const Method& method : kMethods) NODE_SET_METHOD(exports, method.name, method.callback);
}

// The same for a context that asks through the record: the host then calls this form, so that
// a host which admits only context-aware add-ons (Electron's renderers, --force-context-aware)
// loads the module too.
void initContext(v8::Local<v8::Object> exports, v8::Local<v8::Value>, v8::Local<v8::Context>, void*) {
  init(exports);
}

// The module record, handed to the host when the file is first loaded in the process.
node::node_module utilsModule = {
    NODE_MODULE_VERSION,  // the ABI version of the headers this file is built with
    0,                    // an ordinary add-on
    nullptr,
    __FILE__,
    // The host calls the register function with more arguments than `init` reads, as for every
    // add-on that registers this way.
    reinterpret_cast<node::addon_register_func>(reinterpret_cast<void (*)()>(init)),
    initContext,
    "utils",
    nullptr,
    nullptr,
};

__attribute__((constructor)) void _register_utils() { node_module_register(&utilsModule); }

}  // namespace

// A file's static initialisers run once per process, so the record reaches only the first context
// that loads it; every later one (a worker thread, another renderer) finds the module through this
// well-known symbol, as the host's headers arrange for context-aware add-ons.
extern "C" NODE_MODULE_EXPORT void NODE_MODULE_INITIALIZER(v8::Local<v8::Object> exports, v8::Local<v8::Value>,
                                                           v8::Local<v8::Context>) {
  init(exports);
}
