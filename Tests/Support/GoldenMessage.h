// The example messages of Tests/Golden, frame by frame. The README of that folder describes their
// notation.

#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace golden {

/// A message: one byte string per frame.
using Frames = std::vector<std::string>;

/// Reads a message in the notation of the files. Variable parts are not replaced. False, with
/// `frames` unchanged, if a line is not a frame or there is no frame at all.
bool ParseMessage(const std::string& text, Frames& frames);

/// The message in a file. If it is missing or malformed, the test fails and there are no frames.
Frames ReadMessage(const std::string& name);

/// Whether `actual` is the example frame, with a number in place of each variable part.
bool IsFrame(const std::string& example, const std::string& actual);

/// Matches the frames of the message in a file.
testing::Matcher<const Frames&> IsMessage(const std::string& name);

}  // namespace golden
