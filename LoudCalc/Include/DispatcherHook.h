// The engine's one reach upward: how `LoudCalcInit` comes by the dispatcher without knowing what a
// dispatcher is. Reactor thread only.

#pragma once

class cJsonParser;

/// Finds the dispatcher or makes it. Set by the dispatcher's own unit before main, in every program
/// that contains it; null in an engine that runs on its own.
inline cJsonParser* (*gpFetchDispatcher)() = nullptr;

/// The dispatcher that the last `LoudCalcInit` fetched; null when there was none or it was deleted
/// since.
inline cJsonParser* gpFetchedDispatcher = nullptr;
