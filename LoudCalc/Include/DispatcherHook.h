// The engine's one reach upward: how it comes by the dispatcher without knowing what a dispatcher
// is.

#pragma once

class cJsonParser;

using DispatcherFetch_t = cJsonParser* (*)();

/// Names the function by which `LoudCalcInit` fetches the dispatcher; null (the state at start) for
/// an engine that runs on its own.
void SetDispatcherFetch(DispatcherFetch_t fetch);

/// Calls the named function and keeps its result. Called by `LoudCalcInit` only.
void FetchDispatcher();

/// The dispatcher that the last `LoudCalcInit` fetched, or null.
cJsonParser* FetchedDispatcher();
