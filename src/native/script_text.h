#ifndef UTILS_SCRIPT_TEXT_H
#define UTILS_SCRIPT_TEXT_H

// Text crossing between the script and the promise face's binding, by the same rules as the
// synchronous add-on, so that both faces read and return the same bytes.
#include <napi.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace tarnwick {

// Returns the UTF-8 bytes of `value` as the synchronous add-on reads them: a non-string goes
// through the script's own string conversion, a conversion that throws reads as "" (the
// exception is cleared), zero characters stay, and a lone surrogate becomes the three-byte form
// of its own value (which Node-API's UTF-8 getter would write as U+FFFD instead). `units`, when
// given, receives the string's length.
std::string readScriptText(napi_env env, napi_value value, std::size_t* units = nullptr);

// A result on its way to the script: the text up to its first zero byte, with bytes that are not
// UTF-8 read as the host's replacement characters. Building one does the decoding and may run on
// any thread; make() then only copies it into the host, on the script thread.
class ScriptString {
 public:
  explicit ScriptString(std::string text);

  // Returns the script string, or an empty value when the host cannot make one that long.
  Napi::Value make(Napi::Env env) const;

 private:
  enum class Form { Ascii, Utf16 };
  std::string text_;
  std::size_t size_ = 0;
  Form form_ = Form::Ascii;
  std::unique_ptr<std::uint16_t[]> units_;
  std::size_t length_ = 0;
};

// Returns the error a promise rejects with when its result is too long for a script string.
Napi::Error stringTooLongError(Napi::Env env);

// The longest string of the host, in UTF-16 units: results are measured against it before they
// are made. promises.js sets it from buffer.constants.MAX_STRING_LENGTH when it loads (Node-API
// has no call that tells it).
void setLongestString(std::size_t units);
std::size_t longestString();

}  // namespace tarnwick

#endif
