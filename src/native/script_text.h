#ifndef UTILS_SCRIPT_TEXT_H
#define UTILS_SCRIPT_TEXT_H

// Text crossing between the script and the promise face's binding, by the same rules as the
// synchronous add-on, so that both faces read and return the same bytes.
#include <napi.h>

#include <string>

namespace tarnwick {

// Returns the UTF-8 bytes of `value` as the synchronous add-on reads them: a non-string goes
// through the script's own string conversion, a conversion that throws reads as "" (the
// exception is cleared), zero characters stay, and a lone surrogate becomes the three-byte form
// of its own value (which Node-API's UTF-8 getter would write as U+FFFD instead).
std::string readScriptText(napi_env env, napi_value value);

// Returns the script string of `text` up to its first zero byte, bytes that are not UTF-8 read as
// the host's replacement characters; an empty value when the host cannot make a string that long.
Napi::Value makeScriptString(Napi::Env env, const std::string& text);

// Returns the error a promise rejects with when its result is too long for a script string.
Napi::Error stringTooLongError(Napi::Env env, std::size_t bytes);

}  // namespace tarnwick

#endif
