#ifndef UTILS_V8_SHIMS_H
#define UTILS_V8_SHIMS_H

// The calls of the synchronous binding whose form differs between the V8 releases it builds
// against, from Node 10.11 (V8 6.8; Electron 4 has 6.9) to the newest. Each shim picks the form
// the headers in use offer, by their version macros, so that the binding itself reads the same
// on every host and no deprecated form is compiled where a newer one exists.
#include <v8.h>
#include <v8-version.h>

#include <cstdint>

#define UTILS_V8_AT_LEAST(major, minor) \
  (V8_MAJOR_VERSION > (major) || (V8_MAJOR_VERSION == (major) && V8_MINOR_VERSION >= (minor)))

namespace tarnwick {
namespace v8shims {

// Copies `count` characters of `text` from `start` as UTF-16 code units, with no terminator.
inline void writeTwoByte(v8::Isolate* isolate, v8::Local<v8::String> text, int start, int count,
                         std::uint16_t* out) {
#if UTILS_V8_AT_LEAST(13, 4)
  text->WriteV2(isolate, static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(count), out);
#else
  text->Write(isolate, out, start, count, v8::String::NO_NULL_TERMINATION);
#endif
}

// Copies `count` characters of a one-byte `text` from `start` as Latin-1 bytes, with no terminator.
inline void writeOneByte(v8::Isolate* isolate, v8::Local<v8::String> text, int start, int count,
                         std::uint8_t* out) {
#if UTILS_V8_AT_LEAST(13, 4)
  text->WriteOneByteV2(isolate, static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(count), out);
#else
  text->WriteOneByte(isolate, out, start, count, v8::String::NO_NULL_TERMINATION);
#endif
}

// Returns the script's truthiness of `value`. Before V8 7.1 it was asked of a context, and could
// not fail for a primitive or an object anyway.
inline bool booleanValue(v8::Isolate* isolate, v8::Local<v8::Value> value) {
#if UTILS_V8_AT_LEAST(7, 1)
  return value->BooleanValue(isolate);
#else
  return value->BooleanValue(isolate->GetCurrentContext()).FromMaybe(false);
#endif
}

}  // namespace v8shims
}  // namespace tarnwick

#endif
