// Whose processes may connect to the publishers, beyond what the rights of their files say: set at
// start, everybody by default.

#pragma once

#include <string>

/// Environment variables that name the users and the groups, by names or numbers with commas
/// between them. Once one of them is set, a process is let in only if its user or one of its groups
/// is named.
constexpr char kClientUsersVariable[] = "LOUDCALC_CLIENT_USERS";
constexpr char kClientGroupsVariable[] = "LOUDCALC_CLIENT_GROUPS";

/// Settles who may connect to the publishers that are bound from now on. False when a variable
/// names somebody whom the system does not know; `error` then tells the variable, its value and the
/// name, and all stays as it was.
bool LoadAdmittedClients(std::string& error);
