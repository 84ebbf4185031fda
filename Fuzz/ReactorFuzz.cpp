// Messages from the reactor's sockets to its handlers: any number of frames of any size, and calls
// of the readers in any order.
//
// Input: records. A record begins with a letter:
//
//     T  a message to the text socket
//     B  a message to the binary socket
//     t  a call of the text reader, as the loop makes it for a readable socket
//     b  a call of the binary reader
//
// Any other letter is skipped. A message is one signed byte, the result of its handler, then its
// frames up to a dot or the end:
//
//     l  a length of one byte and that many bytes
//     x  a length of two bytes and one byte: that many times the byte
//     r  a number of two bytes: that many copies of the previous frame
//
// Any other letter is an empty frame.

#include <czmq.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <string>
#include <vector>

#include "FuzzTarget.h"
#include "Logger.h"
#include "MqReactor.h"
#include "MqSupport.h"

namespace {

using Frames = std::vector<std::string>;

// Limits that the header and the documents promise.
constexpr std::size_t kFramesKept = 64;
constexpr std::size_t kFramesDroppedAtOnce = 1000;
constexpr std::size_t kLongestTopic = 4096;

constexpr std::size_t kMaxRecords = 32;
constexpr std::size_t kMaxFrames = 5000;       // per message
constexpr std::size_t kMaxRepeated = 1 << 20;  // bytes

std::vector<Frames> gHanded;  // messages that the handlers got since the last call of a reader
int gResult = 0;              // result of the handlers

// The frame as a text, which ends at the first zero byte.
std::string AsText(const std::string& frame) {
  return frame.c_str();
}

int HandleText(const char* topic, const char* data) {
  gHanded.push_back(data != nullptr ? Frames{topic, data} : Frames{topic});
  return gResult;
}

int HandleBinary(const char* topic, zmsg_t* message) {
  Frames frames = {topic};
  for (zframe_t* frame = zmsg_first(message); frame != nullptr; frame = zmsg_next(message))
    frames.emplace_back(reinterpret_cast<const char*>(zframe_data(frame)), zframe_size(frame));
  gHanded.push_back(std::move(frames));
  return gResult;
}

// The effect of one call of a reader.
struct Call {
  std::vector<Frames> handed;  // messages passed to the handler, at most one
  int result;                  // result of the handler
};

// One of the reactor's sockets and its publisher.
class Line {
 public:
  Line(zsock_t* socket, const char* endpoint, zloop_reader_fn* read, bool isBinary)
      : mPublisher(zsock_new(ZMQ_XPUB)), mSocket(socket), mRead(read), mIsBinary(isBinary) {
    zsock_set_sndhwm(mPublisher.get(), 0);
    FUZZ_PROPERTY(zsock_bind(mPublisher.get(), "%s", endpoint) != -1 &&
                      zsock_connect(mSocket, "%s", endpoint) == 0,
                  "the publisher is connected");
    zsock_set_subscribe(mSocket, "");
    zframe_t* subscription = zframe_recv(mPublisher.get());
    zframe_destroy(&subscription);
  }

  void Publish(const Frames& frames, int result) {
    for (std::size_t i = 0; i < frames.size(); ++i)
      zmq_send(zsock_resolve(mPublisher.get()), frames[i].data(), frames[i].size(),
               i + 1 < frames.size() ? ZMQ_SNDMORE : 0);
    mDue.push_back({DeliveredFrames(frames), result});
    const std::size_t rest = frames.size() - std::min(frames.size(), kFramesKept);
    for (std::size_t dropped = 0; dropped < rest; dropped += kFramesDroppedAtOnce)
      mDue.push_back({{}, 0});
  }

  bool IsReadable() const { return (zsock_events(mSocket) & ZMQ_POLLIN) != 0; }

  void Read(MqReactor& reactor) {
    FUZZ_PROPERTY(IsReadable() == !mDue.empty(),
                  "a socket is readable until all that has come is taken, and no longer");
    if (mDue.empty())
      return;
    const Call call = mDue.front();
    mDue.pop_front();
    gHanded.clear();
    gResult = call.result;
    const int result = mRead(nullptr, mSocket, &reactor);
    FUZZ_PROPERTY(gHanded == call.handed,
                  "a message is handed over once, up to the most frames that are kept");
    FUZZ_PROPERTY(result == (!call.handed.empty() && call.result == -1 ? -1 : 0),
                  "the loop is ended by a handler and by nothing else");
  }

 private:
  std::vector<Frames> DeliveredFrames(const Frames& frames) const {
    if (frames.front().size() > kLongestTopic)
      return {};
    Frames handed(frames.begin(),
                  frames.begin() + static_cast<std::ptrdiff_t>(
                                       std::min(frames.size(), mIsBinary ? kFramesKept : 2)));
    handed.front() = AsText(handed.front());
    if (!mIsBinary && handed.size() > 1)
      handed[1] = AsText(handed[1]);
    return {handed};
  }

  MqSockOwner mPublisher;
  zsock_t* mSocket;  // the reactor's socket
  zloop_reader_fn* mRead;
  bool mIsBinary;
  std::deque<Call> mDue;  // expected calls until everything published has been read
};

struct Lines {
  Lines() {
    reactor.SetReactorReader(HandleText);
    reactor.SetReactorReaderForBinaryData(HandleBinary);
  }

  MqReactor reactor;
  Line text{reactor.mpSock, "inproc://text", MqReactor::ReaderCallback, false};
  Line binary{reactor.mpSockBin, "inproc://binary", MqReactor::ReaderCallbackForBinaryData, true};
};

Lines& MadeLines() {
  static Lines* const lines = [] {
    setenv("ZSYS_SIGHANDLER", "false", 0);  // signals belong to libFuzzer
    MqReactor::mpLogger = Logger::GetInstance();
    MqReactor::mpLogger->mConsoleAttached = true;
    static Lines made;
    return &made;
  }();
  return *lines;
}

void TakeFrame(fuzz::Input& input, std::uint8_t letter, Frames& frames) {
  if (letter == 'l') {
    const fuzz::Text bytes = input.TakeText(input.TakeByte());
    frames.emplace_back(bytes.c_str(), bytes.size());
  } else if (letter == 'x') {
    const std::size_t size = input.TakeNumber(2);
    frames.emplace_back(size, static_cast<char>(input.TakeByte()));
  } else if (letter == 'r') {
    const std::string last = frames.empty() ? std::string() : frames.back();
    const std::size_t times =
        std::min<std::size_t>(input.TakeNumber(2), kMaxRepeated / (last.size() + 1));
    frames.resize(std::min(frames.size() + times, kMaxFrames), last);
  } else {
    frames.emplace_back();
  }
}

void PublishMessage(fuzz::Input& input, Line& line) {
  const auto result = static_cast<std::int8_t>(input.TakeByte());
  Frames frames;
  while (!input.IsEmpty() && frames.size() < kMaxFrames) {
    const std::uint8_t letter = input.TakeByte();
    if (letter == '.')
      break;
    TakeFrame(input, letter, frames);
  }
  if (!frames.empty())
    line.Publish(frames, result);
}

void DoRecord(fuzz::Input& input, Lines& lines) {
  switch (input.TakeByte()) {
    case 'T':
      return PublishMessage(input, lines.text);
    case 'B':
      return PublishMessage(input, lines.binary);
    case 't':
      return lines.text.Read(lines.reactor);
    case 'b':
      return lines.binary.Read(lines.reactor);
    default:
      return;
  }
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  Lines& lines = MadeLines();
  for (std::size_t i = 0; i < kMaxRecords && !input.IsEmpty(); ++i)
    DoRecord(input, lines);
  for (Line* line : {&lines.text, &lines.binary}) {
    while (line->IsReadable())
      line->Read(lines.reactor);
    line->Read(lines.reactor);  // expects that no message is left
  }
}
