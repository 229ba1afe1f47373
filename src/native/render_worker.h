#ifndef UTILS_RENDER_WORKER_H
#define UTILS_RENDER_WORKER_H

// Renders a view on a thread of the host's pool, so that parsing and rendering never hold up the
// script thread, and settles a promise with the result.
#include <napi.h>

#include <functional>
#include <string>
#include <vector>

namespace tarnwick {

class RenderWorker final : public Napi::AsyncWorker {
 public:
  using Render = std::function<std::string()>;

  // Queues `render` and returns the promise that its result, as a script string, fulfils. The
  // buffers in `kept` are held until `render` has run, so it may read their bytes in place.
  static Napi::Promise start(Napi::Env env, Render render, const std::vector<Napi::Object>& kept = {});

 private:
  RenderWorker(Napi::Env env, Render render, const std::vector<Napi::Object>& kept);
  void Execute() override;
  void OnOK() override;
  void OnError(const Napi::Error& error) override;

  Render render_;
  std::string result_;
  Napi::Promise::Deferred deferred_;
  std::vector<Napi::ObjectReference> kept_;
};

// Returns a promise already settled with `text` as a script string (rejected when too long).
Napi::Promise settledWithText(Napi::Env env, const std::string& text);

}  // namespace tarnwick

#endif
