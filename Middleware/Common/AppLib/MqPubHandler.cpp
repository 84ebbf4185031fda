// Publisher sockets. The only state is the two numbers; the derived class owns the sockets.

#include "MqPubHandler.h"

#include "LogMacros.h"
#include "MqListener.h"
#include "MqSupport.h"

namespace {

constexpr char kUnitName[] = "MqPubHandler";

void ReportException(const char* title, const char* description) {
  LOUDCALC_PRINT(kUnitName, stdout, "\"%s %s\"", title, description);
}

}  // namespace

MqSock_t* MqPubHandler::BindMqOverIpc(const char* cpIpc_in, MqSock_t* socket) {
  if (cpIpc_in == nullptr)
    return nullptr;
  return Bind(MqEndpoint::Ipc(cpIpc_in).Text(), socket);
}

MqSock_t* MqPubHandler::BindMqOverTcp(const char* cpIp_in, std::uint32_t port, MqSock_t* socket) {
  if (cpIp_in == nullptr || port == 0)
    return nullptr;
  return Bind(MqEndpoint::Tcp(cpIp_in, port).Text(), socket);
}

MqSock_t* MqPubHandler::BindMqOverUdp(const char*, std::uint32_t, MqSock_t*) {
  return nullptr;
}

void MqPubHandler::DestroyMq(MqSock_t*& socket) {
  zsock_destroy(&socket);
}

bool MqPubHandler::SendJson(MqSock_t* socket, const char* topic, const char* json) {
  if (socket == nullptr || topic == nullptr || json == nullptr)
    return false;
  if (MqSendFirstText(socket, topic) == -1 || MqSendLastText(socket, json) == -1) {
    LOUDCALC_PRINT(kUnitName, stdout, "\"Failed to published: %s/%s\"", topic, json);
    return false;
  }
  return true;
}

bool MqPubHandler::SendUint32(MqSock_t* socket, const char* topic, std::uint32_t value) {
  if (socket == nullptr || topic == nullptr)
    return false;
  // Sent as bytes: the library's own format for a number, "4", writes decimal digits. The library
  // itself retries the frames after the first.
  const auto send = [&] { return zsock_send(socket, "sb", topic, &value, sizeof value); };
  if (MqUninterrupted(send) == -1) {
    LOUDCALC_PRINT(kUnitName, stdout, "\"Failed to published: %s/%u\"", topic, value);
    return false;
  }
  return true;
}

MqSock_t* MqPubHandler::GetNewSock(int type) {
  return zsock_new(type);
}

// Binds the existing socket, or a new one, which is destroyed if that fails.
MqSock_t* MqPubHandler::Bind(const char* endpoint, MqSock_t* existing) {
  const auto bind = [&]() -> MqSock_t* {
    MqSockOwner created(existing == nullptr ? GetNewSock(ZMQ_PUB) : nullptr);
    MqSock_t* socket = existing != nullptr ? existing : created.get();
    if (socket == nullptr) {
      LOUDCALC_PRINT(kUnitName, stdout, "\"zsock_new failed %s\"", endpoint);
      return nullptr;
    }
    LOUDCALC_PRINT(kUnitName, stdout, "\"Tryig to bind %s\"", endpoint);
    if ((created != nullptr && !MqPrepareListener(socket)) || MqBind(socket, endpoint) == -1) {
      created.reset();
      LOUDCALC_PRINT(kUnitName, stdout, "\"Failed to bind to %s\"", endpoint);
      return nullptr;
    }
    LOUDCALC_PRINT(kUnitName, stdout, "\"Bound to %s\"", endpoint);
    static_cast<void>(created.release());
    return socket;
  };
  return MqGuard(bind, ReportException);
}
