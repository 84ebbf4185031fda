// Reads which users and groups may connect. Runs once at start.

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

// Reads a decimal user or group number. The highest value means "none" and is not valid.
bool TakeNumber(const std::string& text, id_t& id) {
  constexpr id_t kNoId = std::numeric_limits<id_t>::max();
  constexpr std::size_t kMostDigits = 10;
  if (has_digits_only(text.c_str()) == 0 || text.size() > kMostDigits)
    return false;
  const unsigned long long number = std::stoull(text);
  id = static_cast<id_t>(number);
  return number < kNoId;
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

// The items of a comma-separated list. An empty list has one empty item.
std::vector<std::string> ItemsOf(const std::string& list) {
  std::istringstream stream(list + ',');
  std::vector<std::string> items;
  for (std::string item; std::getline(stream, item, ',');)
    items.push_back(item);
  return items;
}

bool ReadIds(const char* variable, bool (*find)(const std::string& name, id_t& id),
             std::vector<id_t>& ids, std::string& error) {
  const char* value = std::getenv(variable);
  if (value == nullptr)
    return true;
  for (const std::string& item : ItemsOf(value)) {
    id_t id = 0;
    if (!TakeNumber(item, id) && !find(item, id)) {
      error = std::string(variable) + " is \"" + value + "\", but there is no \"" + item + "\"";
      return false;
    }
    ids.push_back(id);
  }
  return true;
}

}  // namespace

bool LoadAdmittedClients(std::string& error) {
  MqAdmitted admitted;
  if (!ReadIds(kClientUsersVariable, FindUser, admitted.users, error) ||
      !ReadIds(kClientGroupsVariable, FindGroup, admitted.groups, error))
    return false;
  MqAdmitOnly(admitted);
  return true;
}
