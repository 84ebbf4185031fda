// Reads a JSON member that is stored twice: as the text received and as the value it stands for.

#pragma once

#include <string>

#include "JsonAccess.h"

namespace json {

/// Reads the string member `key` of `object` into `text` and `convert(text)` into `value`. A member
/// that is missing or not a string leaves both unchanged and returns false. `convert` takes a
/// zero-terminated text.
template <typename Value, typename Convert>
bool ReadText(const rapidjson::Value& object, const char* key, std::string& text, Value& value,
              Convert convert) {
  if (!Read(object, key, text))
    return false;
  value = convert(text.c_str());
  return true;
}

}  // namespace json
