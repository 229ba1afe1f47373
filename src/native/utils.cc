// The add-on's binding: the module record, `init` with the method table, and the conversion of
// script arguments and results. Everything else lives in the subsystem folders as plain C++.
#include <node.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "convert/utf8_codec.h"
#include "diff/color_diff.h"
#include "diff/merge_conflicts.h"
#include "filters/advanced_filters.h"
#include "hunk/hunk_operation.h"

namespace {

using Info = v8::FunctionCallbackInfo<v8::Value>;

// Returns the UTF-8 bytes of `value`, converting a non-string by the script's own rules. A
// conversion that throws reads as the empty string, and zero characters stay in the result.
// Gives the bytes of v8::String::Utf8Value (lone surrogates in their three-byte form) without its
// length pass and extra copy: the characters are copied out flat and encoded here.
std::string getStringFromV8(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  std::string out;
  v8::Local<v8::String> text;
  if (value->IsString()) {
    text = value.As<v8::String>();
  } else {
    v8::TryCatch swallow(isolate);
    if (!value->ToString(isolate->GetCurrentContext()).ToLocal(&text)) return out;
  }
  const int length = text->Length();
  if (length == 0) return out;
  constexpr int kFlat = v8::String::NO_NULL_TERMINATION;
  if (text->IsOneByte()) {
    out.resize(static_cast<std::size_t>(length));
    text->WriteOneByte(isolate, reinterpret_cast<std::uint8_t*>(&out[0]), 0, length, kFlat);
    const std::size_t ascii = tarnwick::asciiPrefixLength(out.data(), out.size());
    if (ascii == out.size()) return out;
    const std::string rest = out.substr(ascii);
    out.resize(ascii);
    tarnwick::appendLatin1AsUtf8(reinterpret_cast<const std::uint8_t*>(rest.data()), rest.size(), out);
    return out;
  }
  // Copied out and encoded a slice at a time, so that only the result takes fresh memory.
  constexpr int kSlice = 64 * 1024;
  std::unique_ptr<std::uint16_t[]> units(new std::uint16_t[kSlice]);
  out.reserve(static_cast<std::size_t>(length) * 3);
  for (int start = 0; start < length;) {
    int count = length - start < kSlice ? length - start : kSlice;
    text->Write(isolate, units.get(), start, count, kFlat);
    // A surrogate pair cut by the slice is encoded whole with the next slice.
    if (start + count < length && count > 1 && units[count - 1] >= 0xD800 && units[count - 1] < 0xDC00) --count;
    tarnwick::appendUtf16AsUtf8(units.get(), static_cast<std::size_t>(count), out);
    start += count;
  }
  return out;
}

// Returns argument `index`, or undefined past the end of the call's arguments.
v8::Local<v8::Value> argument(const Info& info, int index) { return info[index]; }

std::string stringArgument(const Info& info, int index) {
  return getStringFromV8(info.GetIsolate(), argument(info, index));
}

// Results at least this long are handed to the host as external strings that it reads in place:
// copying them, and the fresh pages a copy needs, costs more than the whole rendering.
constexpr std::size_t kExternalResultBytes = 256 * 1024;

// Owns the bytes of an ASCII result while the script holds the string made from it.
class AsciiResult final : public v8::String::ExternalOneByteStringResource {
 public:
  AsciiResult(std::string text, std::size_t length) : text_(std::move(text)), length_(length) {}
  const char* data() const override { return text_.data(); }
  std::size_t length() const override { return length_; }

 private:
  std::string text_;
  std::size_t length_;
};

// Owns the UTF-16 code units of a result while the script holds the string made from it.
class Utf16Result final : public v8::String::ExternalStringResource {
 public:
  Utf16Result(std::unique_ptr<std::uint16_t[]> units, std::size_t length)
      : units_(std::move(units)), length_(length) {}
  const std::uint16_t* data() const override { return units_.get(); }
  std::size_t length() const override { return length_; }

 private:
  std::unique_ptr<std::uint16_t[]> units_;
  std::size_t length_;
};

// Sets `text`, up to its first zero byte, as the call's result; a text the host cannot make
// into a string (too long) leaves the result undefined. Gives the string that
// v8::String::NewFromUtf8 gives: valid UTF-8 is decoded here, several times faster than the
// host's decoder, and only invalid bytes go to the host, so that their replacement characters
// are exactly its own.
void returnString(const Info& info, std::string text) {
  v8::Isolate* isolate = info.GetIsolate();
  const void* zero = std::memchr(text.data(), 0, text.size());
  const std::size_t size = zero ? static_cast<std::size_t>(static_cast<const char*>(zero) - text.data()) : text.size();
  // A string's length in characters is at least a third of its UTF-8 length.
  if (size / 3 > static_cast<std::size_t>(v8::String::kMaxLength)) return;
  const bool external = size >= kExternalResultBytes;
  v8::MaybeLocal<v8::String> made;
  const std::size_t ascii = tarnwick::asciiPrefixLength(text.data(), size);
  if (ascii == size) {
    if (size > static_cast<std::size_t>(v8::String::kMaxLength)) return;
    made = external ? v8::String::NewExternalOneByte(isolate, new AsciiResult(std::move(text), size))
                    : v8::String::NewFromOneByte(isolate, reinterpret_cast<const std::uint8_t*>(text.data()),
                                                 v8::NewStringType::kNormal, static_cast<int>(size));
  } else {
    std::unique_ptr<std::uint16_t[]> units(new std::uint16_t[size]);
    for (std::size_t i = 0; i < ascii; ++i) units[i] = static_cast<unsigned char>(text[i]);
    const std::ptrdiff_t decoded = tarnwick::decodeUtf8(text.data() + ascii, size - ascii, units.get() + ascii);
    const std::size_t length = ascii + static_cast<std::size_t>(decoded);
    if (decoded < 0) {
      made = v8::String::NewFromUtf8(isolate, text.data(), v8::NewStringType::kNormal, static_cast<int>(size));
    } else if (length > static_cast<std::size_t>(v8::String::kMaxLength)) {
      return;
    } else if (external) {
      made = v8::String::NewExternalTwoByte(isolate, new Utf16Result(std::move(units), length));
    } else {
      made = v8::String::NewFromTwoByte(isolate, units.get(), v8::NewStringType::kNormal, static_cast<int>(length));
    }
  }
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
  return argument(info, index)->BooleanValue(info.GetIsolate());
}

void colorDiff(const Info& info) {
  if (info.Length() < 3) return;
  guarded([&] {
    const std::string text = stringArgument(info, 0);
    const bool showColorPreviews = booleanArgument(info, 1);
    const bool markAddedRemoved = booleanArgument(info, 2);
    returnString(info, tarnwick::colorDiff(text, showColorPreviews, markAddedRemoved));
  });
}

void styleMergeConflicts(const Info& info) {
  guarded([&] {
    const std::string text = stringArgument(info, 0);
    returnString(info, tarnwick::styleMergeConflicts(text));
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
