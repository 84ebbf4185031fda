// Takes the version from the build.

#include "Version.h"

namespace louddesk {

const char kVersion[] = LOUDDESK_VERSION;

}  // namespace louddesk
