// The libmicrohttpd daemon and its callbacks, which run on the event loop within MHD_run.

#include "HttpServer.h"

#include <microhttpd.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <list>
#include <utility>

#include "EventQueue.h"

namespace loudgate {
namespace {

// Pages load only what this gate serves, run no inline scripts, and cannot be framed.
constexpr char kContentPolicy[] =
    "default-src 'none'; connect-src 'self'; img-src 'self'; script-src 'self'; "
    "style-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

// For a page with an embedded style sheet, which loads and runs nothing else.
constexpr char kStyledContentPolicy[] =
    "default-src 'none'; style-src 'unsafe-inline'; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'";

// Headers of every answer.
constexpr std::pair<const char*, const char*> kHeadersOfAll[] = {
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"Cache-Control", "no-store"},
};

constexpr char kStreamType[] = "text/event-stream";

// Time until a browser reconnects, ms.
constexpr char kStreamStart[] = "retry: 1000\n\n";

// The library does not report what is wrong with the certificate and the key.
constexpr char kPairText[] =
    " The certificate and the key must be a pair in PEM format, the key without a password.";

constexpr int kBacklog = 64;

// The kernel's send buffer of a connection: small, so that a client that stops reading is noticed
// soon.
constexpr int kSendBuffer = 32 * 1024;  // bytes

// A client that acknowledges nothing for this long has vanished.
constexpr unsigned kVanishedAfter = 20000;  // ms

// Bytes that are read from a file at once.
constexpr std::size_t kFileBuffer = std::size_t{16} * 1024;

// Limit of consecutive rounds of work, so that a busy server does not hold up the event loop.
constexpr int kMostRounds = 16;

struct Exchange;
struct Stream;

// An open connection.
struct Client {
  int descriptor = -1;
  HttpServer::Time since;       // end of the last answer, or start of the connection
  Stream* stream = nullptr;     // not owned
  Exchange* waiting = nullptr;  // the request that waits for its late answer, not owned
  bool isTakingFile = false;
  bool isDropped = false;
};

// An endless answer, made of events.
struct Stream {
  std::list<Stream>* all = nullptr;      // the list that holds it
  Client* client = nullptr;              // null when the connection has ended
  MHD_Connection* connection = nullptr;  // of the client
  std::string key;
  EventQueue queue;
  bool isSuspended = false;
};

// A request that is being received or answered.
struct Exchange {
  HttpRequest request;
  bool isTooLarge = false;
  std::shared_ptr<const LateAnswer> late;  // null unless it waits for a late answer
  MHD_Connection* suspended = nullptr;     // its connection while it waits
};

// Releases the library's reference-counted answer.
struct ResponseDestroyer {
  void operator()(MHD_Response* response) const { MHD_destroy_response(response); }
};
using Response = std::unique_ptr<MHD_Response, ResponseDestroyer>;

// Joins headers of the same name to one list, RFC 9110, 5.3. A request with two hosts is therefore
// refused.
MHD_Result TakeHeader(void* map, MHD_ValueKind, const char* name, const char* value) {
  auto& headers = *static_cast<std::map<std::string, std::string>*>(map);
  const std::string text = value == nullptr ? "" : value;
  const auto [header, isNew] = headers.emplace(LowerCase(name), text);
  if (!isNew)
    header->second += ", " + text;
  return MHD_YES;
}

MHD_Result TakeArgument(void* place, MHD_ValueKind, const char* name, const char* value) {
  auto& request = *static_cast<HttpRequest*>(place);
  const bool isNew = request.query.emplace(name, value == nullptr ? "" : value).second;
  request.isAmbiguous = request.isAmbiguous || !isNew;
  return MHD_YES;
}

std::string SystemText(const std::string& what) {
  return what + ": " + std::strerror(errno);
}

void SetOption(int descriptor, int level, int option, int value) {
  setsockopt(descriptor, level, option, &value, sizeof value);
}

// Opens a socket that listens at `address`. Throws HttpError.
int Listen(const ListenAddress& address) {
  const int descriptor =
      socket(address.address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (descriptor < 0)
    throw HttpError(SystemText(address.Text()));
  SetOption(descriptor, SOL_SOCKET, SO_REUSEADDR, 1);
  if (address.IsIpv6())
    SetOption(descriptor, IPPROTO_IPV6, IPV6_V6ONLY, 1);
  const auto size =
      static_cast<socklen_t>(address.IsIpv6() ? sizeof(sockaddr_in6) : sizeof(sockaddr_in));
  const auto* place = reinterpret_cast<const sockaddr*>(&address.address);
  if (bind(descriptor, place, size) == 0 && listen(descriptor, kBacklog) == 0)
    return descriptor;
  const HttpError error(SystemText(address.Text()));
  close(descriptor);
  throw error;
}

ListenAddress AddressOf(int descriptor) {
  ListenAddress own{};
  socklen_t size = sizeof own.address;
  getsockname(descriptor, reinterpret_cast<sockaddr*>(&own.address), &size);
  return own;
}

}  // namespace

class HttpServer::Daemon {
 public:
  Daemon(EventLoop& loop, const HttpSettings& settings, const Routes& routes)
      : mLoop(loop), mLimits(settings.limits), mGuard(settings.names), mRoutes(routes) {
    const int descriptor = Listen(settings.address);
    mUrl = (settings.certificate.empty() ? "http://" : "https://") + AddressOf(descriptor).Text() +
           "/";
    Start(descriptor, settings);
    mLoop.Watch(Descriptor(), [this] { Run(); });
  }

  ~Daemon() {
    mLoop.Unwatch(Descriptor());
    for (Client& client : mClients)
      Drop(client);
    MHD_stop_daemon(mDaemon);
  }

  const std::string& Url() const { return mUrl; }

  std::set<std::string> StreamKeys() const {
    std::set<std::string> keys;
    for (const Stream& stream : mStreams)
      keys.insert(stream.key);
    return keys;
  }

  void Publish(const std::string& key, const std::string& data) {
    const auto event = std::make_shared<const std::string>("data: " + data + "\n\n");
    for (Stream& stream : mStreams)
      if (stream.key == key) {
        stream.queue.Put(event, std::chrono::steady_clock::now());
        Resume(stream);
      }
    Run();
  }

  void Tend(Time now) {
    for (Client& client : mClients)
      if (!client.isDropped && IsTooSlow(client, now)) {
        ++mCounts.dropped;
        Drop(client);
      } else if (client.waiting != nullptr && client.waiting->late->answer) {
        Resume(*client.waiting);
      }
    Run();
  }

  HttpCounts Counts() const {
    HttpCounts counts = mCounts;
    counts.connections = mClients.size();
    counts.streams = mStreams.size();
    return counts;
  }

 private:
  void Start(int descriptor, const HttpSettings& settings) {
    const bool isTls = !settings.certificate.empty();
    std::array<MHD_OptionItem, 3> tls = {{{MHD_OPTION_END, 0, nullptr}}};
    if (isTls)
      tls = {{{MHD_OPTION_HTTPS_MEM_CERT, 0, const_cast<char*>(settings.certificate.c_str())},
              {MHD_OPTION_HTTPS_MEM_KEY, 0, const_cast<char*>(settings.key.c_str())},
              {MHD_OPTION_END, 0, nullptr}}};
    const unsigned flags = MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG |
                           (isTls ? MHD_USE_TLS : MHD_NO_FLAG);
    mDaemon = MHD_start_daemon(
        flags, 0, nullptr, nullptr, OnRequest, this, MHD_OPTION_EXTERNAL_LOGGER, OnLog, this,
        MHD_OPTION_LISTEN_SOCKET, descriptor, MHD_OPTION_CONNECTION_LIMIT, mLimits.connections,
        MHD_OPTION_PER_IP_CONNECTION_LIMIT, mLimits.connectionsPerAddress,
        MHD_OPTION_CONNECTION_MEMORY_LIMIT, mLimits.headerBytes, MHD_OPTION_STRICT_FOR_CLIENT, 1,
        MHD_OPTION_SIGPIPE_HANDLED_BY_APP, 1, MHD_OPTION_NOTIFY_CONNECTION, OnConnection, this,
        MHD_OPTION_NOTIFY_COMPLETED, OnCompleted, this, MHD_OPTION_ARRAY, tls.data(),
        MHD_OPTION_END);
    if (mDaemon != nullptr)
      return;
    close(descriptor);
    throw HttpError(mUrl + ": " + (mLastLog.empty() ? "HTTP cannot be served" : mLastLog) +
                    (isTls ? kPairText : ""));
  }

  int Descriptor() const {
    return MHD_get_daemon_info(mDaemon, MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd;
  }

  // Whether the library has work left that no descriptor signals.
  bool IsWorkLeft() const {
    MHD_UNSIGNED_LONG_LONG timeout = 0;
    return MHD_get_timeout(mDaemon, &timeout) == MHD_YES && timeout == 0;
  }

  void Run() {
    for (int round = 0; round < kMostRounds; ++round) {
      MHD_run(mDaemon);
      if (!IsWorkLeft())
        return;
    }
  }

  bool IsTooSlow(const Client& client, Time now) const {
    if (client.stream != nullptr)
      return now - client.stream->queue.BehindSince(now) > mLimits.streamPatience;
    return now - client.since > (client.isTakingFile ? mLimits.filePatience : mLimits.patience);
  }

  // Shuts the connection down. The library notices and forgets it.
  static void Drop(Client& client) {
    client.isDropped = true;
    shutdown(client.descriptor, SHUT_RDWR);
    if (client.stream != nullptr)
      Resume(*client.stream);
    if (client.waiting != nullptr)
      Resume(*client.waiting);
  }

  static void Resume(Stream& stream) {
    if (std::exchange(stream.isSuspended, false))
      MHD_resume_connection(stream.connection);
  }

  static void Resume(Exchange& waiting) {
    if (MHD_Connection* const suspended = std::exchange(waiting.suspended, nullptr))
      MHD_resume_connection(suspended);
  }

  static Client& ClientOf(MHD_Connection* connection) {
    return *static_cast<Client*>(
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context);
  }

  static void OnLog(void* daemon, const char* format, va_list arguments) {
    // Only useful while the daemon starts. Later any client could cause any number of lines.
    Daemon& own = *static_cast<Daemon*>(daemon);
    if (own.mDaemon != nullptr)
      return;
    std::array<char, 256> line{};
    std::vsnprintf(line.data(), line.size(), format, arguments);
    own.mLastLog = line.data();
    while (!own.mLastLog.empty() && own.mLastLog.back() == '\n')
      own.mLastLog.pop_back();
  }

  static void OnConnection(void* daemon, MHD_Connection* connection, void** context,
                           MHD_ConnectionNotificationCode what) {
    Daemon& own = *static_cast<Daemon*>(daemon);
    if (what == MHD_CONNECTION_NOTIFY_STARTED) {
      Client& client = own.mClients.emplace_back();
      client.descriptor =
          MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
      client.since = std::chrono::steady_clock::now();
      SetOption(client.descriptor, SOL_SOCKET, SO_SNDBUF, kSendBuffer);
      SetOption(client.descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, kVanishedAfter);
      *context = &client;
      return;
    }
    const Client* const gone = static_cast<Client*>(*context);
    if (gone->stream != nullptr)
      gone->stream->client = nullptr;
    own.mClients.remove_if([gone](const Client& client) { return &client == gone; });
  }

  static void OnCompleted(void*, MHD_Connection* connection, void** exchange,
                          MHD_RequestTerminationCode) {
    delete static_cast<Exchange*>(*exchange);
    *exchange = nullptr;
    ClientOf(connection).waiting = nullptr;
    ClientOf(connection).isTakingFile = false;
    ClientOf(connection).since = std::chrono::steady_clock::now();
  }

  static MHD_Result OnRequest(void* daemon, MHD_Connection* connection, const char* url,
                              const char* method, const char*, const char* data, std::size_t* size,
                              void** exchange) {
    Daemon& own = *static_cast<Daemon*>(daemon);
    try {
      if (*exchange == nullptr) {
        auto begun = std::make_unique<Exchange>();
        ReadHead(begun->request, connection, url, method);
        *exchange = begun.get();
        return own.Begin(connection, *begun.release());
      }
      Exchange& going = *static_cast<Exchange*>(*exchange);
      if (*size > 0) {
        own.TakeBody(going, data, std::exchange(*size, 0));
        return MHD_YES;
      }
      if (going.late)
        return own.AnswerLate(connection, going);
      const HttpAnswer answer = going.isTooLarge ? TooLarge() : own.mRoutes.Answer(going.request);
      return answer.late ? Wait(connection, going, answer) : own.Answer(connection, answer);
    } catch (const std::exception&) {
      return MHD_NO;  // out of memory: the connection is closed
    }
  }

  static void ReadHead(HttpRequest& request, MHD_Connection* connection, const char* url,
                       const char* method) {
    request.method = method;
    request.path = url;
    MHD_get_connection_values(connection, MHD_HEADER_KIND, TakeHeader, &request.headers);
    MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, TakeArgument, &request);
  }

  // Answers at once if the rest of the request must not be read.
  MHD_Result Begin(MHD_Connection* connection, const Exchange& exchange) {
    if (const auto refusal = mGuard.Refusal(exchange.request))
      return Answer(connection, *refusal);
    if (exchange.request.isAmbiguous)
      return Answer(connection, HttpAnswer::Plain(kBadRequest, "A parameter is given twice."));
    const std::string length = exchange.request.Header("content-length");
    if (!length.empty() && std::strtoull(length.c_str(), nullptr, 10) > mLimits.bodyBytes)
      return Answer(connection, TooLarge());
    return MHD_YES;
  }

  void TakeBody(Exchange& exchange, const char* data, std::size_t size) const {
    std::string& body = exchange.request.body;
    exchange.isTooLarge = exchange.isTooLarge || body.size() + size > mLimits.bodyBytes;
    if (!exchange.isTooLarge)
      body.append(data, size);
  }

  // The library calls again when the connection is resumed.
  static MHD_Result Wait(MHD_Connection* connection, Exchange& exchange, const HttpAnswer& answer) {
    exchange.late = answer.late;
    exchange.suspended = connection;
    ClientOf(connection).waiting = &exchange;
    MHD_suspend_connection(connection);
    return MHD_YES;
  }

  // A client that was dropped meanwhile gets no answer.
  MHD_Result AnswerLate(MHD_Connection* connection, const Exchange& exchange) {
    ClientOf(connection).waiting = nullptr;
    const auto& answer = exchange.late->answer;
    return answer ? Answer(connection, *answer) : MHD_NO;
  }

  static HttpAnswer TooLarge() {
    return HttpAnswer::Plain(kContentTooLarge, "This request is too large.");
  }

  MHD_Result Answer(MHD_Connection* connection, const HttpAnswer& answer) {
    ++mCounts.requests;
    if (!answer.stream.empty() && mStreams.size() >= mLimits.streams)
      return Queue(connection, HttpAnswer::Plain(kUnavailable, "There are too many streams."));
    return answer.stream.empty() ? Queue(connection, answer) : StartStream(connection, answer);
  }

  static MHD_Result Queue(MHD_Connection* connection, const HttpAnswer& answer) {
    if (answer.file)
      return QueueFile(connection, answer);
    const Response response(MHD_create_response_from_buffer(
        answer.body.size(), const_cast<char*>(answer.body.data()), MHD_RESPMEM_MUST_COPY));
    return Queue(connection, answer, answer.type, response.get());
  }

  static MHD_Result QueueFile(MHD_Connection* connection, const HttpAnswer& answer) {
    auto file = std::make_unique<std::shared_ptr<const AnswerFile>>(answer.file);
    const Response response(MHD_create_response_from_callback(answer.file->Size(), kFileBuffer,
                                                              OnFileRead, file.get(), OnFileEnd));
    if (response) {
      static_cast<void>(file.release());  // OnFileEnd deletes it
      ClientOf(connection).isTakingFile = true;
    }
    return Queue(connection, answer, answer.type, response.get());
  }

  static ssize_t OnFileRead(void* place, std::uint64_t from, char* buffer, std::size_t size) {
    const auto& file = *static_cast<std::shared_ptr<const AnswerFile>*>(place);
    const ssize_t got = pread(file->Descriptor(), buffer, size, static_cast<off_t>(from));
    return got > 0 ? got : ssize_t{MHD_CONTENT_READER_END_WITH_ERROR};
  }

  static void OnFileEnd(void* place) {
    delete static_cast<std::shared_ptr<const AnswerFile>*>(place);
  }

  static MHD_Result Queue(MHD_Connection* connection, const HttpAnswer& answer,
                          const std::string& type, MHD_Response* response) {
    if (response == nullptr)
      return MHD_NO;
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, type.c_str());
    MHD_add_response_header(response, "Content-Security-Policy",
                            answer.isStyled ? kStyledContentPolicy : kContentPolicy);
    for (const auto& [name, value] : kHeadersOfAll)
      MHD_add_response_header(response, name, value);
    for (const auto& [name, value] : answer.headers)
      MHD_add_response_header(response, name.c_str(), value.c_str());
    return MHD_queue_response(connection, answer.status, response);
  }

  MHD_Result StartStream(MHD_Connection* connection, const HttpAnswer& answer) {
    Stream& stream = mStreams.emplace_back();
    stream.all = &mStreams;
    stream.client = &ClientOf(connection);
    stream.client->stream = &stream;
    stream.connection = connection;
    stream.key = answer.stream;
    stream.queue.Put(std::make_shared<const std::string>(kStreamStart),
                     std::chrono::steady_clock::now());
    const Response response(MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, mLimits.headerBytes,
                                                              OnStreamRead, &stream, OnStreamEnd));
    if (!response)
      OnStreamEnd(&stream);
    return Queue(connection, answer, kStreamType, response.get());
  }

  static ssize_t OnStreamRead(void* place, std::uint64_t, char* buffer, std::size_t size) {
    Stream& stream = *static_cast<Stream*>(place);
    if (stream.client == nullptr || stream.client->isDropped)
      return MHD_CONTENT_READER_END_WITH_ERROR;
    const std::size_t taken = stream.queue.Take(buffer, size, std::chrono::steady_clock::now());
    if (taken == 0) {
      stream.isSuspended = true;
      MHD_suspend_connection(stream.connection);
    }
    return static_cast<ssize_t>(taken);
  }

  static void OnStreamEnd(void* place) {
    const Stream* const gone = static_cast<Stream*>(place);
    if (gone->client != nullptr)
      gone->client->stream = nullptr;
    gone->all->remove_if([gone](const Stream& stream) { return &stream == gone; });
  }

  EventLoop& mLoop;
  HttpLimits mLimits;
  RequestGuard mGuard;
  const Routes& mRoutes;
  std::string mUrl;
  std::string mLastLog;           // the library's last message while it starts
  MHD_Daemon* mDaemon = nullptr;  // owned
  std::list<Client> mClients;     // the library holds their addresses
  std::list<Stream> mStreams;     // the library holds their addresses
  HttpCounts mCounts;
};

HttpServer::HttpServer(EventLoop& loop, const HttpSettings& settings, const Routes& routes)
    : mDaemon(std::make_unique<Daemon>(loop, settings, routes)) {}

HttpServer::~HttpServer() = default;

const std::string& HttpServer::Url() const {
  return mDaemon->Url();
}

std::set<std::string> HttpServer::StreamKeys() const {
  return mDaemon->StreamKeys();
}

void HttpServer::Publish(const std::string& key, const std::string& data) {
  mDaemon->Publish(key, data);
}

void HttpServer::Tend(Time now) {
  mDaemon->Tend(now);
}

HttpCounts HttpServer::Counts() const {
  return mDaemon->Counts();
}

}  // namespace loudgate
