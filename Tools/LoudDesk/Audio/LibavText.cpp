// Texts of the libraries.

#include "LibavText.h"

#include <fmt/format.h>

#include <array>
#include <cstdarg>

#include "LibavHeaders.h"

namespace louddesk {
namespace {

void SayNothing(void*, int, const char*, va_list) {}

}  // namespace

void SilenceLibav() {
  av_log_set_callback(SayNothing);
}

std::string LibavText(int error) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_strerror(error, text.data(), text.size());
  return text.data();
}

std::string FormatText(int sampleRate, const AVChannelLayout& layout) {
  std::array<char, 128> text{};
  av_channel_layout_describe(&layout, text.data(), text.size());
  return fmt::format("{} Hz, {}", sampleRate, text.data());
}

}  // namespace louddesk
