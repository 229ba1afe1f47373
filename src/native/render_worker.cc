#include "render_worker.h"

#include <utility>

namespace tarnwick {

namespace {

void settle(Napi::Promise::Deferred& deferred, Napi::Env env, const ScriptString* text) {
  const Napi::Value string = text != nullptr ? text->make(env) : Napi::Value();
  if (string.IsEmpty()) {
    deferred.Reject(stringTooLongError(env).Value());
  } else {
    deferred.Resolve(string);
  }
}

}  // namespace

Napi::Promise RenderWorker::start(Napi::Env env, Render render) {
  auto* worker = new RenderWorker(env, std::move(render));
  const Napi::Promise promise = worker->deferred_.Promise();
  worker->Queue();  // the worker deletes itself once it has settled the promise
  return promise;
}

RenderWorker::RenderWorker(Napi::Env env, Render render)
    : Napi::AsyncWorker(env, "tarnwick:render"), render_(std::move(render)), deferred_(Napi::Promise::Deferred::New(env)) {}

// A std::exception thrown here (memory running out on a huge text) rejects the promise with its
// message: AsyncWorker catches it.
void RenderWorker::Execute() {
  std::optional<std::string> text = render_();
  if (text) result_.reset(new ScriptString(std::move(*text)));
}

void RenderWorker::OnOK() { settle(deferred_, Env(), result_.get()); }

void RenderWorker::OnError(const Napi::Error& error) { deferred_.Reject(error.Value()); }

Napi::Promise settledWithText(Napi::Env env, std::optional<std::string> text) {
  Napi::Promise::Deferred deferred = Napi::Promise::Deferred::New(env);
  const std::unique_ptr<ScriptString> string(text ? new ScriptString(std::move(*text)) : nullptr);
  settle(deferred, env, string.get());
  return deferred.Promise();
}

}  // namespace tarnwick
