// The promise face's binding (Node-API through node-addon-api, context-aware, so it loads in the
// main thread, in any number of workers and beside the synchronous add-on). It converts arguments
// and results on the script thread and hands everything else to the core on the host's thread
// pool. promises.js runs git with Node's child_process and calls the helpers below.
#include <napi.h>

#include <cstdint>
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

// The bytes of a Buffer argument, read in place by a render while the buffer is kept.
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

// The pieces of git's standard output as child_process delivered them (an Array of Buffers),
// joined by a render off the script thread, so that the script thread never copies the output.
struct Pieces {
  std::vector<Bytes> parts;
  std::string joined() const {
    std::size_t size = 0;
    for (const Bytes& part : parts) size += part.size;
    std::string text;
    text.reserve(size);
    for (const Bytes& part : parts) text.append(part.data, part.size);
    return text;
  }
};

// Reads argument `index`, an Array of Buffers, adding each buffer to `kept`.
Pieces piecesArgument(const Napi::CallbackInfo& info, std::size_t index, std::vector<Napi::Object>& kept) {
  if (!info[index].IsArray()) throw Napi::TypeError::New(info.Env(), "expected an Array of Buffers");
  const Napi::Array array = info[index].As<Napi::Array>();
  Pieces pieces;
  for (uint32_t i = 0; i < array.Length(); ++i) {
    const Napi::Value part = array.Get(i);
    if (!part.IsBuffer()) throw Napi::TypeError::New(info.Env(), "expected an Array of Buffers");
    const Napi::Buffer<char> buffer = part.As<Napi::Buffer<char>>();
    pieces.parts.push_back(bytesOf(buffer));
    kept.push_back(buffer);
  }
  return pieces;
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
  std::string text = tarnwick::readScriptText(env, info[0]);
  const bool showColorPreviews = info[1].ToBoolean();
  const bool markAddedRemoved = info[2].ToBoolean();
  const std::size_t bytes = text.size();
  return renderText(env, bytes, [text = std::move(text), showColorPreviews, markAddedRemoved] {
    return tarnwick::colorDiff(text, showColorPreviews, markAddedRemoved);
  });
}

Napi::Value styleMergeConflicts(const Napi::CallbackInfo& info) {
  std::string text = tarnwick::readScriptText(info.Env(), info[0]);
  const std::size_t bytes = text.size();
  return renderText(info.Env(), bytes, [text = std::move(text)] { return tarnwick::styleMergeConflicts(text); });
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

// (log, filePath, selectedHash): the log as git's raw standard output in pieces, the others Buffers.
Napi::Value renderCommitOptions(const Napi::CallbackInfo& info) {
  std::vector<Napi::Object> kept = {bufferArgument(info, 1), bufferArgument(info, 2)};
  const Bytes filePath = bytesOf(kept[0].As<Napi::Buffer<char>>());
  const Bytes selectedHash = bytesOf(kept[1].As<Napi::Buffer<char>>());
  const Pieces log = piecesArgument(info, 0, kept);
  return RenderWorker::start(info.Env(), [log, filePath, selectedHash] {
    return tarnwick::renderCommitOptions(tarnwick::asReadInPieces(log.joined()), filePath.copy(), selectedHash.copy());
  }, kept);
}

// (blame, baseColor, contentText): the blame as git's raw standard output in pieces, the others Buffers.
Napi::Value renderCodeView(const Napi::CallbackInfo& info) {
  std::vector<Napi::Object> kept = {bufferArgument(info, 1), bufferArgument(info, 2)};
  const Bytes baseColor = bytesOf(kept[0].As<Napi::Buffer<char>>());
  const Bytes contentText = bytesOf(kept[1].As<Napi::Buffer<char>>());
  const Pieces blame = piecesArgument(info, 0, kept);
  return RenderWorker::start(info.Env(), [blame, baseColor, contentText] {
    return tarnwick::renderCodeView(tarnwick::asReadInPieces(blame.joined()), baseColor.copy(), contentText.copy());
  }, kept);
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
      {"renderCommitOptions", renderCommitOptions},
      {"renderCodeView", renderCodeView},
  };
  for (const auto& method : methods) exports.Set(method.first, Napi::Function::New(env, method.second, method.first));
  return exports;
}

}  // namespace

NODE_API_MODULE(utils_promises, init)
