#ifndef UTILS_SCRIPT_TEXT_H
#define UTILS_SCRIPT_TEXT_H

// Text crossing between the script and the promise face's binding, by the same rules as the
// synchronous add-on (see TextBlock and ScriptUnits, which both faces use), so that both faces
// read and return the same characters.
#include <napi.h>

#include <cstddef>
#include <string>

#include "convert/script_units.h"
#include "convert/text_block.h"
#include "memory/page_block.h"

namespace tarnwick {

// The UTF-16 units of a script string, copied out into page memory (Node-API reads no slices).
struct ScriptChars {
  PageBlock units;
  std::size_t length = 0;
  // Returns the text as the synchronous add-on reads it (see TextBlock); may run on any thread.
  TextBlock read(bool escapeHtml) const;
};

// Returns the characters of `value`: a non-string goes through the script's own string
// conversion, a conversion that throws reads as "" (the exception is cleared), and zero
// characters and lone surrogates stay.
ScriptChars readScriptChars(napi_env env, napi_value value);

// Returns `units` as a script string: handed over in place from 256 KB up where the host takes
// external strings (Node-API's, found when the module loads), else copied; not made characters
// are decoded with U+FFFD as the host's decoder would. An empty value when it is too long.
Napi::Value makeScriptString(Napi::Env env, ScriptUnits units);

// Returns the error a promise rejects with when its result is too long for a script string.
Napi::Error stringTooLongError(Napi::Env env);

// Returns the error a promise rejects with when memory for the call could not be had.
Napi::Error outOfMemoryError(Napi::Env env);

// The longest string of the host, in UTF-16 units: results are measured against it before they
// are made. promises.js sets it from buffer.constants.MAX_STRING_LENGTH when it loads (Node-API
// has no call that tells it).
void setLongestString(std::size_t units);
std::size_t longestString();

}  // namespace tarnwick

#endif
