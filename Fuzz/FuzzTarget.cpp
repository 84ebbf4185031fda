// The base of every fuzz target. Single thread.

#include "FuzzTarget.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "Assertion.h"

// Replaces the support library's function: the target decides whether the input may fail an
// assertion.
void FailAssertion(const char* text, const char* file, int line) {
  throw fuzz::ReachedAssertion{text, file, line};
}

namespace fuzz {

namespace {

// A stream that makes no system call and discards everything.
FILE* OpenNowhere() {
  cookie_io_functions_t nowhere = {};
  nowhere.write = [](void*, const char*, std::size_t size) { return static_cast<ssize_t>(size); };
  return fopencookie(nullptr, "w", nowhere);
}

}  // namespace

void FailProperty(const char* text, const char* file, int line) {
  dprintf(STDERR_FILENO, "%s:%d: Property `%s' does not hold.\n", file, line, text);
  std::abort();
}

Text::Text(const std::uint8_t* data, std::size_t size)
    : mBytes(std::make_unique<char[]>(size + 1)), mSize(size) {
  if (size > 0)
    std::memcpy(mBytes.get(), data, size);
}

std::uint8_t Input::TakeByte() {
  return static_cast<std::uint8_t>(TakeNumber(1));
}

std::uint64_t Input::TakeNumber(std::size_t bytes) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < bytes && mSize > 0; ++i, ++mData, --mSize)
    number |= std::uint64_t{*mData} << (8 * i);
  return number;
}

Text Input::TakeText(std::size_t size) {
  const std::size_t taken = std::min(size, mSize);
  Text text(mData, taken);
  mData += taken;
  mSize -= taken;
  return text;
}

Text Input::TakeTerminatedText() {
  const std::size_t length =
      static_cast<std::size_t>(std::find(mData, mData + mSize, std::uint8_t{0}) - mData);
  Text text = TakeText(length);
  TakeByte();
  return text;
}

void Run(const std::uint8_t* data, std::size_t size) {
  try {
    TestOneInput(Input(data, size));
  } catch (const ReachedAssertion& assertion) {
    dprintf(STDERR_FILENO, "%s:%d: Assertion `%s' failed.\n", assertion.file, assertion.line,
            assertion.text);
    FailProperty("no input reaches an assertion", assertion.file, assertion.line);
  } catch (const std::exception& error) {
    dprintf(STDERR_FILENO, "Exception %s\n", error.what());
    FailProperty("no input ends in an exception", __FILE__, __LINE__);
  }
}

void Silence() {
  stdout = OpenNowhere();
  stderr = OpenNowhere();
}

}  // namespace fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::Silence();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Run(data, size);
  return 0;
}
