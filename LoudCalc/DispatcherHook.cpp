// Keeps the pointer to the dispatcher for the reporting functions. Reactor thread only.

#include "DispatcherHook.h"

namespace {

DispatcherFetch_t gDispatcherFetch = nullptr;
cJsonParser* gpFetchedDispatcher = nullptr;

}  // namespace

void SetDispatcherFetch(DispatcherFetch_t fetch) {
  gDispatcherFetch = fetch;
}

void FetchDispatcher() {
  gpFetchedDispatcher = gDispatcherFetch != nullptr ? gDispatcherFetch() : nullptr;
}

cJsonParser* FetchedDispatcher() {
  return gpFetchedDispatcher;
}
