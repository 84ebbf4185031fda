// The parts of every fuzz target: an input reader, properties that must hold, and the assertions of
// the code under test, which throw here instead of ending the process.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

/// Stops the run with `text` and the source line if `condition` does not hold, in every build type.
/// `text` states the property.
#define FUZZ_PROPERTY(condition, text) \
  ((condition) ? static_cast<void>(0) : fuzz::FailProperty((text), __FILE__, __LINE__))

namespace fuzz {

/// Prints "FILE:LINE: Property `TEXT' does not hold." on the process's standard error, even after
/// Silence, and aborts.
[[noreturn]] void FailProperty(const char* text, const char* file, int line);

/// Thrown by a failed assertion of the code under test. Not a standard exception, so that no code
/// between the assertion and the target catches it.
struct ReachedAssertion {
  const char* text;  // text of the assertion
  const char* file;
  int line;
};

/// Bytes and a terminating zero in a buffer of exactly that size, so that a sanitizer notices a
/// reader that goes beyond the end.
class Text {
 public:
  Text(const std::uint8_t* data, std::size_t size);

  const char* c_str() const { return mBytes.get(); }
  std::size_t size() const { return mSize; }

 private:
  std::unique_ptr<char[]> mBytes;
  std::size_t mSize;  // without the zero
};

/// An input, read from the front. Reads beyond its end give zero or an empty text.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : mData(data), mSize(size) {}

  bool IsEmpty() const { return mSize == 0; }

  std::uint8_t TakeByte();

  /// An unsigned number of `bytes` bytes (at most 8), the lowest first.
  std::uint64_t TakeNumber(std::size_t bytes);

  /// The next `size` bytes, or as many as there are.
  Text TakeText(std::size_t size);

  /// The bytes before the next zero, which is consumed too; all remaining bytes if there is none.
  Text TakeTerminatedText();

  /// All remaining bytes.
  Text TakeRest() { return TakeText(mSize); }

 private:
  const std::uint8_t* mData;
  std::size_t mSize;  // bytes not taken yet
};

/// Defined by each target: runs the code under test on one input and asserts its properties. An
/// exception counts as a failed property. No state may remain that changes the next run.
void TestOneInput(Input input);

/// Runs the target on one input; called by libFuzzer and by the replay.
void Run(const std::uint8_t* data, std::size_t size);

/// Discards the code under test's output on standard output and standard error. Sanitizers,
/// libFuzzer and failed properties still reach the standard error of the process.
void Silence();

/// Runs `operation` and returns the text of the assertion that failed in it, or null.
template <typename Operation>
const char* AssertionOf(Operation operation) {
  try {
    operation();
  } catch (const ReachedAssertion& assertion) {
    return assertion.text;
  }
  return nullptr;
}

}  // namespace fuzz
