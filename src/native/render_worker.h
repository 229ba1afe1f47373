#ifndef UTILS_RENDER_WORKER_H
#define UTILS_RENDER_WORKER_H

// Renders a view on a thread of the host's pool, so that parsing, rendering and the decoding of
// the result never hold up the script thread, and settles a promise with it.
#include <napi.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "script_text.h"

namespace tarnwick {

class RenderWorker final : public Napi::AsyncWorker {
 public:
  // Returns the result, or nothing when it is too long for a script string.
  using Render = std::function<std::optional<std::string>()>;

  // Queues `render` and returns the promise that its result, as a script string, fulfils (or that
  // rejects with ERR_STRING_TOO_LONG). `render` owns what it reads.
  static Napi::Promise start(Napi::Env env, Render render);

 private:
  RenderWorker(Napi::Env env, Render render);
  void Execute() override;
  void OnOK() override;
  void OnError(const Napi::Error& error) override;

  Render render_;
  std::unique_ptr<ScriptString> result_;
  Napi::Promise::Deferred deferred_;
};

// Returns a promise settled at once with `text`, rendered on the script thread (for work too
// small to be worth a trip to the pool); rejected when the text is too long for a string.
Napi::Promise settledWithText(Napi::Env env, std::optional<std::string> text);

}  // namespace tarnwick

#endif
