#include "script_text.h"

#include <atomic>
#include <cstring>
#include <utility>
#include <vector>

#include "convert/utf8_codec.h"

namespace tarnwick {

std::string readScriptText(napi_env env, napi_value value, std::size_t* units) {
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
  if (units != nullptr) *units = length;
  std::vector<char16_t> characters(length + 1);
  napi_get_value_string_utf16(env, text, characters.data(), characters.size(), &length);
  out.reserve(length);
  appendUtf16AsUtf8(reinterpret_cast<const std::uint16_t*>(characters.data()), length, out);
  return out;
}

// ASCII goes to the host as one-byte text; anything else is decoded here, off the script thread
// (the host's decoder is several times slower), bytes that are not UTF-8 included: hosts do not
// all read those alike through Node-API (Node 10 takes them for Latin-1), and the reading here is
// the one the synchronous face's host gives.
ScriptString::ScriptString(std::string text) : text_(std::move(text)) {
  const void* zero = std::memchr(text_.data(), 0, text_.size());
  size_ = zero ? static_cast<std::size_t>(static_cast<const char*>(zero) - text_.data()) : text_.size();
  const std::size_t ascii = asciiPrefixLength(text_.data(), size_);
  if (ascii == size_) return;
  units_.reset(new std::uint16_t[size_]);
  for (std::size_t i = 0; i < ascii; ++i) units_[i] = static_cast<unsigned char>(text_[i]);
  const std::ptrdiff_t decoded = decodeUtf8(text_.data() + ascii, size_ - ascii, units_.get() + ascii);
  length_ = ascii + (decoded >= 0 ? static_cast<std::size_t>(decoded)
                                  : decodeUtf8Replacing(text_.data() + ascii, size_ - ascii, units_.get() + ascii));
  form_ = Form::Utf16;
  std::string().swap(text_);
}

Napi::Value ScriptString::make(Napi::Env env) const {
  napi_value string = nullptr;
  napi_status status;
  if (form_ == Form::Ascii) {
    status = napi_create_string_latin1(env, text_.data(), size_, &string);
  } else {
    status = napi_create_string_utf16(env, reinterpret_cast<const char16_t*>(units_.get()), length_, &string);
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

namespace {

// V8's longest string on 64-bit hosts since Node 12, until promises.js says otherwise.
std::atomic<std::size_t> longest{(std::size_t{1} << 29) - 24};

}  // namespace

void setLongestString(std::size_t units) { longest.store(units); }

std::size_t longestString() { return longest.load(); }

}  // namespace tarnwick
