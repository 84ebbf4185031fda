// The engine's only upward dependency: how `LoudCalcInit` gets the dispatcher without including its
// header. Reactor thread only.

#pragma once

class cJsonParser;

/// Returns the dispatcher and makes it if necessary. Set before main by the dispatcher's source
/// file in every program that links it; null in a program with the engine alone.
inline cJsonParser* (*gpFetchDispatcher)() = nullptr;

/// The dispatcher that the last `LoudCalcInit` fetched; null if there was none or it has been
/// deleted.
inline cJsonParser* gpFetchedDispatcher = nullptr;
