// FFmpeg's libraries, whose headers are C, the handles on what they allocate, and their complaints.

#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/crc.h>
#include <libavutil/opt.h>
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

/// "End of file", of a negative value that one of the libraries' functions has returned.
inline std::string LibavText(int error) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_strerror(error, text.data(), text.size());
  return text.data();
}

template <typename Object>
using LibavHandle = std::unique_ptr<Object, LibavDeleter>;

}  // namespace louddesk
