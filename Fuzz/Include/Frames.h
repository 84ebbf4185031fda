// Frames of a binary message, in a form that a fuzzer can write.

#pragma once

#include <czmq.h>

#include <memory>

#include "FuzzTarget.h"

namespace fuzz {

struct MessageDestroyer {
  void operator()(zmsg_t* message) const { zmsg_destroy(&message); }
};

using MessageOwner = std::unique_ptr<zmsg_t, MessageDestroyer>;

/// Takes a message: one byte, whose lowest three bits are the number of frames, then the frames. A
/// frame begins with a letter:
///
///     p  32 times the 4 bytes that follow: a peak frame
///     w  32 times the 8 bytes that follow: a power frame
///     l  a length of one byte and that many bytes
///     z  a length of two bytes: that many zeros
///
/// Any other letter is an empty frame.
MessageOwner TakeMessage(Input& input);

}  // namespace fuzz
