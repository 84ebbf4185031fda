// The C headers of FFmpeg's libraries, owning handles for their objects, and their error messages.

#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/crc.h>
#include <libavutil/opt.h>
#include <libavutil/parseutils.h>
}

#include <array>
#include <memory>
#include <string>

namespace louddesk {

struct LibavDeleter {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVIOContext* context) const {
    av_freep(&context->buffer);
    avio_context_free(&context);
  }
};

/// The text for a negative return value of the libraries: "End of file".
inline std::string LibavText(int error) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_strerror(error, text.data(), text.size());
  return text.data();
}

template <typename Object>
using LibavHandle = std::unique_ptr<Object, LibavDeleter>;

}  // namespace louddesk
