// The contents of a document, read independently of the readers under test. Another library decides
// whether it is JSON. If a name occurs more than once, the first member counts, and only if it has
// the requested type.

#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>

#include "FuzzTarget.h"

namespace fuzz {

/// A text parsed with the limits that every reader shares.
class Document {
 public:
  /// Asserts that the service accepts the text if, and only if, it is JSON within the limits.
  explicit Document(const Text& text);

  bool IsJson() const { return mIsJson; }
  bool IsObject() const { return mIsJson && mDocument.IsObject(); }

  /// The root; a JSON null when the text is not JSON.
  const rapidjson::Value& Root() const { return mIsJson ? mDocument : mNull; }

 private:
  rapidjson::Document mDocument;
  rapidjson::Value mNull;
  bool mIsJson;
};

/// The first member of `object` with exactly that name; null if there is none or `object` is not an
/// object.
const rapidjson::Value* Member(const rapidjson::Value& object, const char* name);

bool HasUnsigned(const rapidjson::Value& object, const char* name);
bool HasSigned(const rapidjson::Value& object, const char* name);
bool HasText(const rapidjson::Value& object, const char* name);
bool HasBool(const rapidjson::Value& object, const char* name);
bool HasNumber(const rapidjson::Value& object, const char* name);
bool HasObject(const rapidjson::Value& object, const char* name);

/// Each returns the member's value, or `fallback` when it is missing or of another type.
std::uint32_t UnsignedOf(const rapidjson::Value& object, const char* name, std::uint32_t fallback);
std::uint64_t Unsigned64Of(const rapidjson::Value& object, const char* name,
                           std::uint64_t fallback);
std::int32_t SignedOf(const rapidjson::Value& object, const char* name, std::int32_t fallback);
bool BoolOf(const rapidjson::Value& object, const char* name, bool fallback);
std::string TextOf(const rapidjson::Value& object, const char* name, const std::string& fallback);

}  // namespace fuzz
