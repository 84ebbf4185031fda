// A second reading of documents. Stateless.

#include "JsonOracle.h"

#include <cstring>

#include "JsonAccess.h"
#include "SecondReader.h"

namespace fuzz {

namespace {

using Value = rapidjson::Value;

bool IsNamed(const Value& name, const char* wanted) {
  return name.GetStringLength() == std::strlen(wanted) &&
         std::memcmp(name.GetString(), wanted, name.GetStringLength()) == 0;
}

bool Has(const Value& object, const char* name, bool (Value::*isOfType)() const) {
  const Value* value = Member(object, name);
  return value != nullptr && (value->*isOfType)();
}

}  // namespace

Document::Document(const Text& text) : mIsJson(json::Parse(text.c_str(), mDocument)) {
  const Verdict verdict = JudgeText(text.c_str());
  FUZZ_PROPERTY(verdict == Verdict::kEither || mIsJson == (verdict == Verdict::kTaken),
                "a text is taken when it is JSON within the limits and only then");
}

const Value* Member(const Value& object, const char* name) {
  if (!object.IsObject())
    return nullptr;
  for (const auto& member : object.GetObject())
    if (IsNamed(member.name, name))
      return &member.value;
  return nullptr;
}

bool HasUnsigned(const Value& object, const char* name) {
  return Has(object, name, &Value::IsUint);
}

bool HasSigned(const Value& object, const char* name) {
  return Has(object, name, &Value::IsInt);
}

bool HasText(const Value& object, const char* name) {
  return Has(object, name, &Value::IsString);
}

bool HasBool(const Value& object, const char* name) {
  return Has(object, name, &Value::IsBool);
}

bool HasNumber(const Value& object, const char* name) {
  return Has(object, name, &Value::IsNumber);
}

bool HasObject(const Value& object, const char* name) {
  return Has(object, name, &Value::IsObject);
}

std::uint32_t UnsignedOf(const Value& object, const char* name, std::uint32_t fallback) {
  return HasUnsigned(object, name) ? Member(object, name)->GetUint() : fallback;
}

std::uint64_t Unsigned64Of(const Value& object, const char* name, std::uint64_t fallback) {
  return Has(object, name, &Value::IsUint64) ? Member(object, name)->GetUint64() : fallback;
}

std::int32_t SignedOf(const Value& object, const char* name, std::int32_t fallback) {
  return HasSigned(object, name) ? Member(object, name)->GetInt() : fallback;
}

bool BoolOf(const Value& object, const char* name, bool fallback) {
  return HasBool(object, name) ? Member(object, name)->GetBool() : fallback;
}

std::string TextOf(const Value& object, const char* name, const std::string& fallback) {
  if (!HasText(object, name))
    return fallback;
  const Value* value = Member(object, name);
  return {value->GetString(), value->GetStringLength()};
}

}  // namespace fuzz
