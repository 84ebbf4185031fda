// Restricts the publishers' clients to certain users and groups, in addition to the permissions of
// the socket files. Set at start. By default every user may connect.

#pragma once

#include <string>

/// Environment variables with comma-separated lists of users and of groups, each by name or number.
/// If either is set, a process may connect only if its user or one of its groups is listed.
constexpr char kClientUsersVariable[] = "LOUDCALC_CLIENT_USERS";
constexpr char kClientGroupsVariable[] = "LOUDCALC_CLIENT_GROUPS";

/// Reads both variables and admits only those clients to publishers that are bound from now on.
/// False when a variable names a user or group that the system does not know; `error` then contains
/// the variable, its value and the unknown name, and nothing changes.
bool LoadAdmittedClients(std::string& error);
