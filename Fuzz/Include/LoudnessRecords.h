// Properties of every loudness configuration and command, from any source.

#pragma once

#include "JsonParseLuMessages.h"

namespace fuzz {

/// Whether all fields are equal.
bool IsSame(const cLuConf& left, const cLuConf& right);
bool IsSame(const cLuCmd& left, const cLuCmd& right);
bool IsSame(const cLuSettingsParser& left, const cLuSettingsParser& right);

/// Asserts that every enumeration has a value that a message can set, and that the text beside it
/// is the text of that value.
void CheckRecord(const cLuConf& configuration);
void CheckRecord(const cLuCmd& command);

/// A reader in which no field has its default, as after earlier messages.
cLuSettingsParser UsedReader();

}  // namespace fuzz
