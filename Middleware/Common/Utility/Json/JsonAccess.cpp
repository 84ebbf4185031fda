// Strict access to JSON documents. Stateless.

#include "JsonAccess.h"

#include <rapidjson/reader.h>

#include <cmath>
#include <cstring>

namespace json {

namespace {

// Passes the reader's events to the document under construction, and stops the reader as soon as
// the document exceeds a limit of depth or size.
class BoundedDocument {
 public:
  using Size = rapidjson::SizeType;

  explicit BoundedDocument(rapidjson::Document& document) : mDocument(document) {}

  bool Null() { return CountValue() && mDocument.Null(); }
  bool Bool(bool value) { return CountValue() && mDocument.Bool(value); }
  bool Int(int value) { return CountValue() && mDocument.Int(value); }
  bool Uint(unsigned value) { return CountValue() && mDocument.Uint(value); }
  bool Int64(std::int64_t value) { return CountValue() && mDocument.Int64(value); }
  bool Uint64(std::uint64_t value) { return CountValue() && mDocument.Uint64(value); }
  // The reader refuses some numbers beyond the range and turns the others into infinity.
  bool Double(double value) {
    return std::isfinite(value) && CountValue() && mDocument.Double(value);
  }
  bool RawNumber(const char* text, Size length, bool copy) {
    return CountValue() && mDocument.RawNumber(text, length, copy);
  }
  bool String(const char* text, Size length, bool copy) {
    return CountValue() && mDocument.String(text, length, copy);
  }
  bool Key(const char* text, Size length, bool copy) {
    return CountValue() && mDocument.Key(text, length, copy);
  }
  bool StartObject() { return CountValue() && Enter() && mDocument.StartObject(); }
  bool StartArray() { return CountValue() && Enter() && mDocument.StartArray(); }
  bool EndObject(Size members) { return Leave() && mDocument.EndObject(members); }
  bool EndArray(Size elements) { return Leave() && mDocument.EndArray(elements); }

 private:
  bool CountValue() { return ++mValues <= kMaxValues; }
  bool Enter() { return ++mNesting <= kMaxNesting; }
  bool Leave() {
    --mNesting;
    return true;
  }

  rapidjson::Document& mDocument;
  std::size_t mValues = 0;   // values and keys so far
  std::size_t mNesting = 0;  // objects and arrays that are open
};

}  // namespace

bool Parse(const char* text, rapidjson::Document& document) {
  document.SetNull();
  if (text == nullptr || strnlen(text, kMaxDocumentSize + 1) > kMaxDocumentSize)
    return false;
  bool isRead = false;
  auto read = [&](rapidjson::Document& root) {
    rapidjson::Reader reader;
    rapidjson::StringStream stream(text);
    BoundedDocument bounded(root);
    // The recursive parser's use of the stack would grow with the nesting of the text.
    isRead = !reader.Parse<rapidjson::kParseIterativeFlag>(stream, bounded).IsError();
    return isRead;
  };
  document.Populate(read);
  return isRead;
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
