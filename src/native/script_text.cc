#include "script_text.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include "convert/utf8_codec.h"

namespace tarnwick {

std::string readScriptText(napi_env env, napi_value value) {
  std::string out;
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
  std::vector<char16_t> units(length + 1);
  napi_get_value_string_utf16(env, text, units.data(), units.size(), &length);
  out.reserve(length);
  appendUtf16AsUtf8(reinterpret_cast<const std::uint16_t*>(units.data()), length, out);
  return out;
}

Napi::Value makeScriptString(Napi::Env env, const std::string& text) {
  const void* zero = std::memchr(text.data(), 0, text.size());
  const std::size_t size = zero ? static_cast<std::size_t>(static_cast<const char*>(zero) - text.data()) : text.size();
  napi_value string = nullptr;
  if (napi_create_string_utf8(env, text.data(), size, &string) != napi_ok) {
    napi_value thrown;
    napi_get_and_clear_last_exception(env, &thrown);
    return Napi::Value();
  }
  return Napi::Value(env, string);
}

Napi::Error stringTooLongError(Napi::Env env, std::size_t bytes) {
  Napi::Error error = Napi::RangeError::New(
      env, "The result (" + std::to_string(bytes) + " bytes) is longer than the longest possible string");
  error.Set("code", Napi::String::New(env, "ERR_STRING_TOO_LONG"));
  return error;
}

}  // namespace tarnwick
