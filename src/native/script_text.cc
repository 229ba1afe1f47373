#include "script_text.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdint>
#include <utility>

namespace tarnwick {

namespace {

// Node-API's external strings (node_api_create_external_string_latin1 and _utf16), which hosts
// from Node 20.4 have and this module's Node-API version does not name: looked up once.
using CreateExternal = napi_status (*)(napi_env, void*, std::size_t, napi_finalize, void*, napi_value*, bool*);
CreateExternal externalMaker(const char* name) {
  return reinterpret_cast<CreateExternal>(dlsym(RTLD_DEFAULT, name));
}

// Releases the block of an external string the host no longer holds.
void releaseBlock(napi_env env, void*, void* hint) {
  auto* block = static_cast<PageBlock*>(hint);
  std::int64_t left = 0;
  napi_adjust_external_memory(env, -static_cast<std::int64_t>(block->capacity()), &left);
  delete block;
}

}  // namespace

TextBlock ScriptChars::read(bool escapeHtml) const {
  TextBlock text(length, false, escapeHtml);
  text.addUtf16(reinterpret_cast<const std::uint16_t*>(units.data()), length);
  return text;
}

ScriptChars readScriptChars(napi_env env, napi_value value) {
  ScriptChars out;
  napi_valuetype type = napi_undefined;
  if (napi_typeof(env, value, &type) != napi_ok) return out;
  napi_value text = value;
  if (type != napi_string && napi_coerce_to_string(env, value, &text) != napi_ok) {
    napi_value thrown;
    napi_get_and_clear_last_exception(env, &thrown);
    return out;
  }
  std::size_t length = 0;
  if (napi_get_value_string_utf16(env, text, nullptr, 0, &length) != napi_ok || length == 0) return out;
  out.units = PageBlock::acquire(2 * (length + 1));  // and its terminator
  napi_get_value_string_utf16(env, text, reinterpret_cast<char16_t*>(out.units.data()), length + 1, &out.length);
  return out;
}

Napi::Value makeScriptString(Napi::Env env, ScriptUnits units) {
  static const CreateExternal kLatin1 = externalMaker("node_api_create_external_string_latin1");
  static const CreateExternal kUtf16 = externalMaker("node_api_create_external_string_utf16");
  if (units.tooLong) return Napi::Value();
  if (!units.made) units = scriptUnits(units.block.data(), units.length, false, true, longestString());
  if (!units.made) return Napi::Value();
  napi_value string = nullptr;
  napi_status status;
  const CreateExternal external = units.twoByte ? kUtf16 : kLatin1;
  if (external != nullptr && units.length * (units.twoByte ? 2 : 1) >= tarnwick::kExternalResultBytes) {
    auto* block = new PageBlock(std::move(units.block));
    std::int64_t held = 0;
    napi_adjust_external_memory(env, static_cast<std::int64_t>(block->capacity()), &held);
    bool copied = false;
    status = external(env, block->data(), units.length, releaseBlock, block, &string, &copied);
    if (status != napi_ok) releaseBlock(env, nullptr, block);
  } else if (units.twoByte) {
    status = napi_create_string_utf16(env, reinterpret_cast<const char16_t*>(units.block.data()), units.length, &string);
  } else {
    status = napi_create_string_latin1(env, units.block.data(), units.length, &string);
  }
  if (status != napi_ok) {
    napi_value thrown;
    napi_get_and_clear_last_exception(env, &thrown);
    return Napi::Value();
  }
  return Napi::Value(env, string);
}

Napi::Error stringTooLongError(Napi::Env env) {
  Napi::Error error = Napi::RangeError::New(env, "The result is longer than the longest possible string");
  error.Set("code", Napi::String::New(env, "ERR_STRING_TOO_LONG"));
  return error;
}

Napi::Error outOfMemoryError(Napi::Env env) {
  Napi::Error error = Napi::Error::New(env, "Memory for the call could not be allocated");
  error.Set("code", Napi::String::New(env, "ERR_MEMORY_ALLOCATION_FAILED"));
  return error;
}

namespace {

// The host's longest string, which promises.js sets as it loads (buffer.constants); until then
// no result is made.
std::atomic<std::size_t> longest{0};

}  // namespace

void setLongestString(std::size_t units) { longest.store(units); }

std::size_t longestString() { return longest.load(); }

}  // namespace tarnwick
