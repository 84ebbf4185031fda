// Users and groups of the clients. Settled once at start.

#include "AdmittedClients.h"

#include <grp.h>
#include <pwd.h>
#include <sys/types.h>

#include <cstdlib>
#include <limits>
#include <sstream>
#include <vector>

#include "MqListener.h"
#include "Utilities.h"

namespace {

// A number that a user or group can have; the highest stands for none.
bool TakeNumber(const std::string& text, id_t& id) {
  constexpr id_t kNobody = std::numeric_limits<id_t>::max();
  constexpr std::size_t kMostDigits = 10;
  if (has_digits_only(text.c_str()) == 0 || text.size() > kMostDigits)
    return false;
  const unsigned long long number = std::stoull(text);
  id = static_cast<id_t>(number);
  return number < kNobody;
}

bool FindUser(const std::string& name, uid_t& id) {
  const passwd* user = getpwnam(name.c_str());
  if (user != nullptr)
    id = user->pw_uid;
  return user != nullptr;
}

bool FindGroup(const std::string& name, gid_t& id) {
  const group* found = getgrnam(name.c_str());
  if (found != nullptr)
    id = found->gr_gid;
  return found != nullptr;
}

// The parts of a list, also of an empty one, which has one that is empty.
std::vector<std::string> PartsOf(const std::string& list) {
  std::istringstream stream(list + ',');
  std::vector<std::string> parts;
  for (std::string part; std::getline(stream, part, ',');)
    parts.push_back(part);
  return parts;
}

bool Settle(const char* variable, bool (*find)(const std::string& name, id_t& id),
            std::vector<id_t>& ids, std::string& error) {
  const char* value = std::getenv(variable);
  if (value == nullptr)
    return true;
  for (const std::string& part : PartsOf(value)) {
    id_t id = 0;
    if (!TakeNumber(part, id) && !find(part, id)) {
      error = std::string(variable) + " is \"" + value + "\", but there is no \"" + part + "\"";
      return false;
    }
    ids.push_back(id);
  }
  return true;
}

}  // namespace

bool LoadAdmittedClients(std::string& error) {
  MqAdmitted admitted;
  if (!Settle(kClientUsersVariable, FindUser, admitted.users, error) ||
      !Settle(kClientGroupsVariable, FindGroup, admitted.groups, error))
    return false;
  MqAdmitOnly(admitted);
  return true;
}
