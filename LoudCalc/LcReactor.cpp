// The service's reactor, a singleton. Reactor thread only.

#include "LcReactor.h"

#include <czmq.h>

#include <cstdlib>

cLcReactor* gpReactor = nullptr;

cLcReactor* cLcReactor::mpReactor = nullptr;
std::uint32_t cLcReactor::mlMeterSetNo = 0;
std::uint32_t cLcReactor::mlClusterNo = 0;
std::uint32_t cLcReactor::mlCmdUserId = 0;
std::uint32_t cLcReactor::mlConfUserId = 0;

cLcReactor* cLcReactor::GetInstance() {
  if (mpReactor == nullptr) {
    // CZMQ's own exit handler must be registered before ours, so that our sockets go first.
    zsys_init();
    mpLogger = Logger::GetInstance();
    mpReactor = new cLcReactor;
    gpReactor = mpReactor;
    std::atexit(DeleteInstance);
  }
  return mpReactor;
}

void cLcReactor::DeleteInstance() {
  delete mpReactor;
  mpReactor = nullptr;
  gpReactor = nullptr;
}
