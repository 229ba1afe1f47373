#include "render_worker.h"

#include <new>
#include <utility>

namespace tarnwick {

namespace {

void settle(Napi::Promise::Deferred& deferred, Napi::Env env, ScriptUnits units) {
  const Napi::Value string = makeScriptString(env, std::move(units));
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

// Memory running out on a huge text rejects the promise as on the script thread; any other
// std::exception thrown here rejects it with its message (AsyncWorker catches it).
void RenderWorker::Execute() {
  try {
    result_ = render_();
  } catch (const std::bad_alloc&) {
    outOfMemory_ = true;
  }
}

void RenderWorker::OnOK() {
  if (outOfMemory_) {
    deferred_.Reject(outOfMemoryError(Env()).Value());
  } else {
    settle(deferred_, Env(), std::move(result_));
  }
}

void RenderWorker::OnError(const Napi::Error& error) { deferred_.Reject(error.Value()); }

Napi::Promise settledWith(Napi::Env env, ScriptUnits units) {
  Napi::Promise::Deferred deferred = Napi::Promise::Deferred::New(env);
  settle(deferred, env, std::move(units));
  return deferred.Promise();
}

}  // namespace tarnwick
