// Strict access to JSON documents. Stateless.

#include "JsonAccess.h"

namespace json {

bool Parse(const char* text, rapidjson::Document& document) {
  if (text == nullptr)
    return false;
  // The recursive parser would overflow the stack on a deeply nested text.
  document.Parse<rapidjson::kParseIterativeFlag>(text);
  return !document.HasParseError();
}

bool ParseObject(const char* text, rapidjson::Document& document) {
  return Parse(text, document) && document.IsObject();
}

const rapidjson::Value* Find(const rapidjson::Value& object, const char* key) {
  const auto member = object.FindMember(key);
  return member != object.MemberEnd() ? &member->value : nullptr;
}

const rapidjson::Value* FindObject(const rapidjson::Value& object, const char* key) {
  const rapidjson::Value* value = Find(object, key);
  return value != nullptr && value->IsObject() ? value : nullptr;
}

const rapidjson::Value* FindArray(const rapidjson::Value& object, const char* key) {
  const rapidjson::Value* value = Find(object, key);
  return value != nullptr && value->IsArray() ? value : nullptr;
}

bool Read(const rapidjson::Value& object, const char* key, bool& out) {
  const rapidjson::Value* value = Find(object, key);
  if (value == nullptr || !value->IsBool())
    return false;
  out = value->GetBool();
  return true;
}

bool Read(const rapidjson::Value& object, const char* key, std::int32_t& out) {
  const rapidjson::Value* value = Find(object, key);
  if (value == nullptr || !value->IsInt())
    return false;
  out = value->GetInt();
  return true;
}

bool Read(const rapidjson::Value& object, const char* key, std::uint32_t& out) {
  const rapidjson::Value* value = Find(object, key);
  if (value == nullptr || !value->IsUint())
    return false;
  out = value->GetUint();
  return true;
}

bool Read(const rapidjson::Value& object, const char* key, std::uint64_t& out) {
  const rapidjson::Value* value = Find(object, key);
  if (value == nullptr || !value->IsUint64())
    return false;
  out = value->GetUint64();
  return true;
}

bool Read(const rapidjson::Value& object, const char* key, std::string& out) {
  const rapidjson::Value* value = Find(object, key);
  if (value == nullptr || !value->IsString())
    return false;
  out.assign(value->GetString(), value->GetStringLength());
  return true;
}

}  // namespace json
