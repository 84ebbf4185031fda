// Strict access to JSON documents that come from the network. All readers use these functions, so
// no document can exhaust stack, memory or time, and a value of the wrong type always counts as
// missing.

#pragma once

#include <rapidjson/document.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace json {

/// Limits of an accepted document. They are several times larger than any document that a unit
/// needs: in a preset, a meter takes about 500 bytes, an output channel 130, an Emset flow 600.
constexpr std::size_t kMaxDocumentSize = 256 * 1024;  // bytes
constexpr std::size_t kMaxValues = 32 * 1024;         // values and keys together
constexpr std::size_t kMaxNesting = 64;               // objects and arrays within one another

/// Parses the zero-terminated `text` without recursion. False when it is null, is not JSON, exceeds
/// a limit above or its root is not an object; the contents of `document` are then undefined.
bool ParseObject(const char* text, rapidjson::Document& document);

/// Parses the zero-terminated `text` without recursion; its root may be any value. False when it is
/// null, is not JSON or exceeds a limit above.
bool Parse(const char* text, rapidjson::Document& document);

/// The member of `object` with exactly that key, or null. `object` must be a JSON object. Of
/// duplicate keys the first one counts.
const rapidjson::Value* Find(const rapidjson::Value& object, const char* key);

/// The member when it is present and an object (array), else null.
const rapidjson::Value* FindObject(const rapidjson::Value& object, const char* key);
const rapidjson::Value* FindArray(const rapidjson::Value& object, const char* key);

/// Each reads one member into `out` and returns true; a member that is missing or of another type
/// leaves `out` unchanged and returns false. A number with a fraction part, 9.0 included, is not
/// an integer.
bool Read(const rapidjson::Value& object, const char* key, bool& out);
bool Read(const rapidjson::Value& object, const char* key, std::int32_t& out);
bool Read(const rapidjson::Value& object, const char* key, std::uint32_t& out);
bool Read(const rapidjson::Value& object, const char* key, std::uint64_t& out);
bool Read(const rapidjson::Value& object, const char* key, std::string& out);

}  // namespace json
