// The promise face's binding (Node-API through node-addon-api, context-aware, so it loads in the
// main thread, in any number of workers and beside the synchronous add-on). It converts arguments
// and results on the script thread and hands everything else to the core on the host's thread
// pool. promises.js runs git with Node's child_process and calls the helpers below.
#include <napi.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "command/exec.h"
#include "command/git_invocation.h"
#include "diff/color_diff.h"
#include "diff/merge_conflicts.h"
#include "filters/advanced_filters.h"
#include "hunk/hunk_operation.h"
#include "mergetool/code_view.h"
#include "mergetool/commit_list.h"
#include "render_worker.h"
#include "script_text.h"

namespace {

using tarnwick::RenderWorker;

// Texts up to this many bytes are rendered on the script thread: the trip to the pool and back
// (about 20 us) costs more than rendering them, and they hold the thread for well under 0.1 ms.
constexpr std::size_t kRenderHereBytes = 4096;

// Returns the promise of `render`'s result: rendered at once for a small `inputBytes`, else on the pool.
Napi::Promise renderText(Napi::Env env, std::size_t inputBytes, RenderWorker::Render render) {
  if (inputBytes <= kRenderHereBytes) return tarnwick::settledWithText(env, render());
  return RenderWorker::start(env, std::move(render));
}

// The bytes of a Buffer argument, read in place while the call lasts.
struct Bytes {
  const char* data;
  std::size_t size;
  std::string copy() const { return std::string(data, size); }
};

Napi::Buffer<char> bufferArgument(const Napi::CallbackInfo& info, std::size_t index) {
  if (!info[index].IsBuffer()) throw Napi::TypeError::New(info.Env(), "expected a Buffer");
  return info[index].As<Napi::Buffer<char>>();
}

Bytes bytesOf(const Napi::Buffer<char>& buffer) { return Bytes{buffer.Data(), buffer.Length()}; }

// A view being built from git's output as child_process delivers it, piece by piece on the script
// thread (a piece takes well under a millisecond), read as the synchronous face reads it.
struct ViewInProgress {
  explicit ViewInProgress(tarnwick::StreamedView* made) : view(made), pieces(*made) {}
  std::shared_ptr<tarnwick::StreamedView> view;
  tarnwick::FgetsPieces pieces;
};

Napi::Value viewInProgress(Napi::Env env, tarnwick::StreamedView* view) {
  return Napi::External<ViewInProgress>::New(env, new ViewInProgress(view),
                                             [](Napi::Env, ViewInProgress* held) { delete held; });
}

ViewInProgress& viewArgument(const Napi::CallbackInfo& info) {
  if (!info[0].IsExternal()) throw Napi::TypeError::New(info.Env(), "expected a view");
  ViewInProgress& held = *info[0].As<Napi::External<ViewInProgress>>().Data();
  if (!held.view) throw Napi::Error::New(info.Env(), "the view is finished");
  return held;
}

Napi::Array stringArray(Napi::Env env, const std::vector<std::string>& words) {
  Napi::Array array = Napi::Array::New(env, words.size());
  for (std::size_t i = 0; i < words.size(); ++i) array.Set(static_cast<uint32_t>(i), Napi::String::New(env, words[i]));
  return array;
}

// "cd": with fewer than three arguments nothing is done and the promise fulfils with undefined.
Napi::Value colorDiff(const Napi::CallbackInfo& info) {
  Napi::Env env = info.Env();
  if (info.Length() < 3) {
    Napi::Promise::Deferred nothing = Napi::Promise::Deferred::New(env);
    nothing.Resolve(env.Undefined());
    return nothing.Promise();
  }
  std::size_t units = 0;
  std::string text = tarnwick::readScriptText(env, info[0], &units);
  const bool showColorPreviews = info[1].ToBoolean();
  const bool markAddedRemoved = info[2].ToBoolean();
  const std::size_t bytes = text.size();
  return renderText(env, bytes, [text = std::move(text), showColorPreviews, markAddedRemoved, units] {
    return tarnwick::colorDiffWithin(text, showColorPreviews, markAddedRemoved, units, tarnwick::longestString());
  });
}

// A result longer than the longest string is never built.
Napi::Value styleMergeConflicts(const Napi::CallbackInfo& info) {
  std::size_t units = 0;
  std::string text = tarnwick::readScriptText(info.Env(), info[0], &units);
  const std::size_t bytes = text.size();
  return renderText(info.Env(), bytes, [text = std::move(text), units] {
    return tarnwick::styleMergeConflictsWithin(text, units, tarnwick::longestString());
  });
}

Napi::Value getAdvancedFiltersHTML(const Napi::CallbackInfo& info) {
  return tarnwick::settledWithText(info.Env(), tarnwick::getAdvancedFiltersHTML());
}

// Returns a Buffer of the bytes the synchronous add-on reads from the argument.
Napi::Value text(const Napi::CallbackInfo& info) {
  const std::string bytes = tarnwick::readScriptText(info.Env(), info[0]);
  return Napi::Buffer<char>::Copy(info.Env(), bytes.data(), bytes.size());
}

Napi::Value driverSettingsArguments(const Napi::CallbackInfo& info) {
  return stringArray(info.Env(), tarnwick::driverSettingsArguments());
}

// (entries): the host's environment as "NAME=value" strings; returns git's, as the same.
Napi::Value gitEnvironment(const Napi::CallbackInfo& info) {
  if (!info[0].IsArray()) throw Napi::TypeError::New(info.Env(), "expected an Array of strings");
  const Napi::Array entries = info[0].As<Napi::Array>();
  std::vector<std::string> host;
  host.reserve(entries.Length());
  for (uint32_t i = 0; i < entries.Length(); ++i) host.push_back(entries.Get(i).ToString().Utf8Value());
  return stringArray(info.Env(), tarnwick::gitEnvironment(host));
}

Napi::Value commitLogArguments(const Napi::CallbackInfo& info) {
  return stringArray(info.Env(), tarnwick::commitLogArguments(bytesOf(bufferArgument(info, 0)).copy()));
}

// (filePath, driverSettings), both Buffers; an empty Array when the run cannot be guarded.
Napi::Value blameArguments(const Napi::CallbackInfo& info) {
  return stringArray(info.Env(), tarnwick::blameArguments(bytesOf(bufferArgument(info, 0)).copy(),
                                                          bytesOf(bufferArgument(info, 1)).copy()));
}

// (action, driverSettings): 0 to stage, 1 to unstage, 2 to discard, and the listing's Buffer.
Napi::Value hunkApplyArguments(const Napi::CallbackInfo& info) {
  static const tarnwick::HunkAction kActions[] = {tarnwick::HunkAction::Stage, tarnwick::HunkAction::Unstage,
                                                  tarnwick::HunkAction::Discard};
  const uint32_t index = info[0].ToNumber().Uint32Value();
  if (index > 2) throw Napi::RangeError::New(info.Env(), "unknown hunk action");
  return stringArray(info.Env(), tarnwick::hunkApplyArguments(kActions[index], bytesOf(bufferArgument(info, 1)).copy()));
}

// Returns whether git apply's standard output (read as the synchronous add-on reads it) or its
// standard error shows an error.
Napi::Value showsGitError(const Napi::CallbackInfo& info) {
  const Bytes output = bytesOf(bufferArgument(info, 0));
  const Bytes errors = bytesOf(bufferArgument(info, 1));
  const bool shows = tarnwick::showsGitError(tarnwick::asReadInPieces(output.copy())) ||
                     tarnwick::showsGitError(errors.copy());
  return Napi::Boolean::New(info.Env(), shows);
}

// (filePath, selectedHash), Buffers: the commit list of the log to come.
Napi::Value commitOptions(const Napi::CallbackInfo& info) {
  return viewInProgress(info.Env(), new tarnwick::CommitOptionsRenderer(bytesOf(bufferArgument(info, 0)).copy(),
                                                                      bytesOf(bufferArgument(info, 1)).copy(),
                                                                      tarnwick::longestString()));
}

// (baseColor, contentText), Buffers: the code view of the blame to come.
Napi::Value codeView(const Napi::CallbackInfo& info) {
  return viewInProgress(info.Env(), new tarnwick::CodeViewRenderer(bytesOf(bufferArgument(info, 0)).copy(),
                                                                 bytesOf(bufferArgument(info, 1)).copy(),
                                                                 tarnwick::longestString()));
}

// (view, piece): takes the next piece of git's output; returns false once the view is too long.
Napi::Value addOutput(const Napi::CallbackInfo& info) {
  const Bytes piece = bytesOf(bufferArgument(info, 1));
  return Napi::Boolean::New(info.Env(), viewArgument(info).pieces.take(piece.data, piece.size));
}

// (view): once git's output has ended, returns the promise of the view, finished and decoded on
// the pool.
Napi::Value finishView(const Napi::CallbackInfo& info) {
  std::shared_ptr<tarnwick::StreamedView> view = std::move(viewArgument(info).view);
  return RenderWorker::start(info.Env(), [view] { return view->finish(); });
}

// (units): the host's longest string.
Napi::Value setLongestString(const Napi::CallbackInfo& info) {
  tarnwick::setLongestString(static_cast<std::size_t>(info[0].ToNumber().Int64Value()));
  return info.Env().Undefined();
}

Napi::Object init(Napi::Env env, Napi::Object exports) {
  const std::pair<const char*, Napi::Function::Callback> methods[] = {
      {"cd", colorDiff},
      {"smc", styleMergeConflicts},
      {"gafh", getAdvancedFiltersHTML},
      {"text", text},
      {"driverSettingsArguments", driverSettingsArguments},
      {"gitEnvironment", gitEnvironment},
      {"commitLogArguments", commitLogArguments},
      {"blameArguments", blameArguments},
      {"hunkApplyArguments", hunkApplyArguments},
      {"showsGitError", showsGitError},
      {"commitOptions", commitOptions},
      {"codeView", codeView},
      {"addOutput", addOutput},
      {"finishView", finishView},
      {"setLongestString", setLongestString},
  };
  for (const auto& method : methods) exports.Set(method.first, Napi::Function::New(env, method.second, method.first));
  return exports;
}

}  // namespace

NODE_API_MODULE(utils_promises, init)
