// The promise face's binding (Node-API through node-addon-api, context-aware, so it loads in the
// main thread, in any number of workers and beside the synchronous add-on). It converts arguments
// and results on the script thread and hands everything else to the core on the host's thread
// pool. promises.js runs git with Node's child_process and calls the helpers below.
#include <napi.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "command/git_call.h"
#include "diff/color_diff.h"
#include "diff/color_diff_units.h"
#include "diff/merge_conflicts.h"
#include "filters/advanced_filters.h"
#include "hunk/hunk_operation.h"
#include "mergetool/code_view.h"
#include "mergetool/commit_list.h"
#include "render_worker.h"
#include "script_text.h"
#include "stay_loaded.h"

namespace {

using tarnwick::RenderWorker;

// Texts up to this many bytes are rendered on the script thread: the trip to the pool and back
// (about 20 us) costs more than rendering them, and they hold the thread for well under 0.1 ms.
constexpr std::size_t kRenderHereBytes = 4096;

// Returns the promise of `render`'s result: rendered at once for a small `inputBytes`, else on the pool.
Napi::Promise renderText(Napi::Env env, std::size_t inputBytes, RenderWorker::Render render) {
  if (inputBytes <= kRenderHereBytes) return tarnwick::settledWith(env, render());
  return RenderWorker::start(env, std::move(render));
}

// Returns the units of a result made as bytes.
tarnwick::ScriptUnits unitsOf(const std::string& text) {
  return tarnwick::scriptUnits(text.data(), text.size(), false, true, tarnwick::longestString());
}

// Returns whether argument `index` is an object whose property `name` is truthy: the options of
// "cd". A getter that throws reads as false.
bool optionArgument(const Napi::CallbackInfo& info, std::size_t index, const char* name) {
  if (!info[index].IsObject()) return false;
  napi_value value;
  if (napi_get_named_property(info.Env(), info[index], name, &value) != napi_ok) {
    napi_value thrown;
    napi_get_and_clear_last_exception(info.Env(), &thrown);
    return false;
  }
  return Napi::Value(info.Env(), value).ToBoolean();
}

// The bytes of a Buffer argument, read in place while the call lasts.
std::string bufferText(const Napi::CallbackInfo& info, std::size_t index) {
  if (!info[index].IsBuffer()) throw Napi::TypeError::New(info.Env(), "expected a Buffer");
  const Napi::Buffer<char> buffer = info[index].As<Napi::Buffer<char>>();
  return std::string(buffer.Data(), buffer.Length());
}

// (entries): the host's environment as "NAME=value" strings.
std::vector<std::string> environmentArgument(const Napi::CallbackInfo& info, std::size_t index) {
  if (!info[index].IsArray()) throw Napi::TypeError::New(info.Env(), "expected an Array of strings");
  const Napi::Array entries = info[index].As<Napi::Array>();
  std::vector<std::string> host;
  host.reserve(entries.Length());
  for (uint32_t i = 0; i < entries.Length(); ++i) host.push_back(entries.Get(i).ToString().Utf8Value());
  return host;
}

Napi::Array stringArray(Napi::Env env, const std::vector<std::string>& words) {
  Napi::Array array = Napi::Array::New(env, words.size());
  for (std::size_t i = 0; i < words.size(); ++i) array.Set(static_cast<uint32_t>(i), Napi::String::New(env, words[i]));
  return array;
}

// A method call whose git runs promises.js starts as the call asks (see GitCall), feeding it
// git's output on the script thread as child_process delivers it (a piece takes well under a
// millisecond); a view is finished and decoded on the pool.
struct CallInProgress {
  std::shared_ptr<tarnwick::GitCall> call;
  std::shared_ptr<tarnwick::ViewCall> view;  // the same call for a view; null for a hunk
  bool finished = false;
};

Napi::Value callInProgress(Napi::Env env, CallInProgress* held) {
  return Napi::External<CallInProgress>::New(env, held, [](Napi::Env, CallInProgress* gone) { delete gone; });
}

CallInProgress& callArgument(const Napi::CallbackInfo& info) {
  if (!info[0].IsExternal()) throw Napi::TypeError::New(info.Env(), "expected a call");
  return *info[0].As<Napi::External<CallInProgress>>().Data();
}

Napi::Value viewCall(Napi::Env env, std::unique_ptr<tarnwick::ViewCall> made) {
  auto* held = new CallInProgress();
  held->view = std::move(made);
  held->call = held->view;
  return callInProgress(env, held);
}

// "cd": with fewer than three arguments nothing is done and the promise fulfils with undefined.
// The text is read, rendered and handed back through page memory, as the synchronous face does.
Napi::Value colorDiff(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (info.Length() < 3) {
    Napi::Promise::Deferred nothing = Napi::Promise::Deferred::New(env);
    nothing.Resolve(env.Undefined());
    return nothing.Promise();
  }
  auto chars = std::make_shared<tarnwick::ScriptChars>(tarnwick::readScriptChars(env, info[0]));
  const bool showColorPreviews = info[1].ToBoolean();
  const bool markAddedRemoved = info[2].ToBoolean();
  const bool escapeHtml = optionArgument(info, 3, "escapeHtml");
  const bool words = optionArgument(info, 3, "words");
  return renderText(env, chars->length, [chars, showColorPreviews, markAddedRemoved, escapeHtml, words] {
    const tarnwick::TextBlock text = chars->read(escapeHtml);
    return tarnwick::colorDiffUnits(text.data(), text.size(), text.units(), text.oneByte(), showColorPreviews,
                                    markAddedRemoved, words, true, tarnwick::longestString());
  });
}

// A result longer than the longest string is never built.
Napi::Value styleMergeConflicts(const Napi::CallbackInfo& info) {
  auto chars = std::make_shared<tarnwick::ScriptChars>(tarnwick::readScriptChars(info.Env(), info[0]));
  return renderText(info.Env(), chars->length, [chars] {
    const tarnwick::TextBlock text = chars->read(false);
    return tarnwick::styledMergeConflictUnits(text.data(), text.size(), text.units(), text.oneByte(), true,
                                              tarnwick::longestString());
  });
}

Napi::Value getAdvancedFiltersHTML(const Napi::CallbackInfo& info) {
  return tarnwick::settledWith(info.Env(), unitsOf(tarnwick::getAdvancedFiltersHTML()));
}

// Returns a Buffer of the bytes the synchronous add-on reads from the argument.
Napi::Value text(const Napi::CallbackInfo& info) {
  const tarnwick::TextBlock bytes = tarnwick::readScriptChars(info.Env(), info[0]).read(false);
  return Napi::Buffer<char>::Copy(info.Env(), bytes.data(), bytes.size());
}

// Returns [bytes, what makes them no path ("" when nothing does)] of a path argument.
Napi::Value pathText(const Napi::CallbackInfo& info) {
  const tarnwick::TextBlock bytes = tarnwick::readScriptChars(info.Env(), info[0]).read(false);
  Napi::Array out = Napi::Array::New(info.Env(), 2);
  out.Set(0u, Napi::Buffer<char>::Copy(info.Env(), bytes.data(), bytes.size()));
  out.Set(1u, Napi::String::New(info.Env(), bytes.unfitForPath()));
  return out;
}

// (filePath, repoPath, baseColor, contentText, environment): the call behind "mtgch".
Napi::Value codeViewCall(const Napi::CallbackInfo& info) {
  return viewCall(info.Env(), tarnwick::codeViewCall(bufferText(info, 0), bufferText(info, 1), bufferText(info, 2),
                                                     bufferText(info, 3), tarnwick::longestString(),
                                                     environmentArgument(info, 4)));
}

// (filePath, repoPath, selectedHash, environment): the call behind "mtgcld".
Napi::Value commitListCall(const Napi::CallbackInfo& info) {
  return viewCall(info.Env(), tarnwick::commitListCall(bufferText(info, 0), bufferText(info, 1), bufferText(info, 2),
                                                       tarnwick::longestString(), environmentArgument(info, 3)));
}

// (action, patchText, repoPath, environment): 0 stages, 1 unstages, 2 discards.
Napi::Value hunkCall(const Napi::CallbackInfo& info) {
  static const tarnwick::HunkAction kActions[] = {tarnwick::HunkAction::Stage, tarnwick::HunkAction::Unstage,
                                                  tarnwick::HunkAction::Discard};
  const uint32_t index = info[0].ToNumber().Uint32Value();
  if (index > 2) throw Napi::RangeError::New(info.Env(), "unknown hunk action");
  auto* held = new CallInProgress();
  held->call = std::make_shared<tarnwick::HunkCall>(kActions[index], bufferText(info, 1), bufferText(info, 2),
                                                    environmentArgument(info, 3));
  return callInProgress(info.Env(), held);
}

// (call): the next run, { script, env, input, timeLimit } (/bin/sh -c script), or null.
Napi::Value nextRun(const Napi::CallbackInfo& info) {
  const tarnwick::GitRun* run = callArgument(info).call->next();
  if (run == nullptr) return info.Env().Null();
  Napi::Object out = Napi::Object::New(info.Env());
  out.Set("script", Napi::String::New(info.Env(), run->script));
  out.Set("env", stringArray(info.Env(), run->environment));
  out.Set("input", run->input.empty() ? info.Env().Null()
                                      : Napi::Buffer<char>::Copy(info.Env(), run->input.data(), run->input.size()));
  out.Set("timeLimit", Napi::Number::New(info.Env(), run->timeLimitMs));
  return out;
}

// (call, piece): the next piece of the run's standard output; false stops the run (a view past
// the longest string).
Napi::Value output(const Napi::CallbackInfo& info) {
  if (!info[1].IsBuffer()) throw Napi::TypeError::New(info.Env(), "expected a Buffer");
  const Napi::Buffer<char> piece = info[1].As<Napi::Buffer<char>>();
  return Napi::Boolean::New(info.Env(), callArgument(info).call->take(piece.Data(), piece.Length()));
}

// (call, exitCode, outOfTime): the run has ended (exitCode -1: by a signal).
Napi::Value ended(const Napi::CallbackInfo& info) {
  callArgument(info).call->ended(info[1].ToNumber().Int32Value(), info[2].ToBoolean());
  return info.Env().Undefined();
}

// (call): once the call is decided, its result: the promise of the view (finished and decoded on
// the pool), true for an applied hunk, or { failure, words } with failure "git", "nogit",
// "unsafe" or "lfs" and the words of the run that failed.
Napi::Value finish(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  CallInProgress& held = callArgument(info);
  static const char* const kFailures[] = {"", "git", "nogit", "unsafe", "lfs"};
  const tarnwick::CallFailure failure = held.call->failure();
  if (failure != tarnwick::CallFailure::kNone) {
    Napi::Object out = Napi::Object::New(env);
    out.Set("failure", Napi::String::New(env, kFailures[static_cast<int>(failure)]));
    out.Set("words", stringArray(env, held.call->failedWords()));
    return out;
  }
  if (!held.view) return Napi::Boolean::New(env, true);
  if (held.finished) throw Napi::Error::New(env, "the view is finished");
  held.finished = true;
  std::shared_ptr<tarnwick::ViewCall> view = held.view;
  return RenderWorker::start(env, [view] {
    const std::optional<std::string> text = view->finish();
    if (text) return unitsOf(*text);
    tarnwick::ScriptUnits none;
    none.tooLong = true;
    return none;
  });
}

// (units): the host's longest string.
Napi::Value setLongestString(const Napi::CallbackInfo& info) {
  tarnwick::setLongestString(static_cast<std::size_t>(info[0].ToNumber().Int64Value()));
  return info.Env().Undefined();
}

// `Method`, with every C++ exception turned into a script exception (a rejection, for the
// promise face's methods, which its script side calls from async functions).
template <Napi::Value (*Method)(const Napi::CallbackInfo&)>
Napi::Value safely(const Napi::CallbackInfo& info) {
  try {
    return Method(info);
  } catch (const Napi::Error&) {
    throw;
  } catch (const std::bad_alloc&) {
    throw tarnwick::outOfMemoryError(info.Env());
  } catch (const std::exception& failure) {
    throw Napi::Error::New(info.Env(), failure.what());
  } catch (...) {
    throw Napi::Error::New(info.Env(), "The add-on failed");
  }
}

Napi::Object init(Napi::Env env, Napi::Object exports) {
  tarnwick::stayLoaded(reinterpret_cast<const void*>(&init));
  const std::pair<const char*, Napi::Function::Callback> methods[] = {
      {"cd", safely<colorDiff>},
      {"smc", safely<styleMergeConflicts>},
      {"gafh", safely<getAdvancedFiltersHTML>},
      {"text", safely<text>},
      {"pathText", safely<pathText>},
      {"codeViewCall", safely<codeViewCall>},
      {"commitListCall", safely<commitListCall>},
      {"hunkCall", safely<hunkCall>},
      {"nextRun", safely<nextRun>},
      {"output", safely<output>},
      {"ended", safely<ended>},
      {"finish", safely<finish>},
      {"setLongestString", safely<setLongestString>},
  };
  for (const auto& method : methods) exports.Set(method.first, Napi::Function::New(env, method.second, method.first));
  return exports;
}

}  // namespace

NODE_API_MODULE(utils_promises, init)
