// FFmpeg's libraries, whose headers are C, and the handles on what they allocate.

#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/crc.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <memory>

namespace louddesk {

struct LibavDeleter {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(SwrContext* context) const { swr_free(&context); }
  void operator()(AVIOContext* context) const {
    av_freep(&context->buffer);
    avio_context_free(&context);
  }
};

template <typename Object>
using LibavHandle = std::unique_ptr<Object, LibavDeleter>;

}  // namespace louddesk
