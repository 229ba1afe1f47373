#ifndef UTILS_RENDER_WORKER_H
#define UTILS_RENDER_WORKER_H

// Renders a view on a thread of the host's pool, so that parsing, rendering and the decoding of
// the result never hold up the script thread, and settles a promise with it.
#include <napi.h>

#include <functional>

#include "script_text.h"

namespace tarnwick {

class RenderWorker final : public Napi::AsyncWorker {
 public:
  // Returns the result as the characters of a script string (tooLong: too long for one).
  using Render = std::function<ScriptUnits()>;

  // Queues `render` and returns the promise that its result, as a script string, fulfils (or that
  // rejects with ERR_STRING_TOO_LONG). `render` owns what it reads.
  static Napi::Promise start(Napi::Env env, Render render);

 private:
  RenderWorker(Napi::Env env, Render render);
  void Execute() override;
  void OnOK() override;
  void OnError(const Napi::Error& error) override;

  Render render_;
  ScriptUnits result_;
  bool outOfMemory_ = false;
  Napi::Promise::Deferred deferred_;
};

// Returns a promise settled at once with `units`, made on the script thread (for work too small
// to be worth a trip to the pool); rejected when they are too long for a string.
Napi::Promise settledWith(Napi::Env env, ScriptUnits units);

}  // namespace tarnwick

#endif
