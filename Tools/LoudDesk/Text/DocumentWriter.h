// Compact JSON documents, written member by member in the order of the calls.

#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <string>

namespace louddesk {

/// A new writer is inside the root object. Every call returns the writer. Inside an array members
/// have no key: pass kNoKey.
class DocumentWriter {
 public:
  static constexpr const char* kNoKey = nullptr;

  DocumentWriter() { mWriter.StartObject(); }

  DocumentWriter& Text(const char* key, const std::string& value) {
    Key(key);
    mWriter.String(value.c_str(), static_cast<rapidjson::SizeType>(value.size()));
    return *this;
  }
  DocumentWriter& Signed(const char* key, int value) {
    Key(key);
    mWriter.Int(value);
    return *this;
  }
  DocumentWriter& Unsigned(const char* key, unsigned value) {
    Key(key);
    mWriter.Uint(value);
    return *this;
  }
  /// A number, or null, as it is written.
  DocumentWriter& Number(const char* key, const std::string& text) {
    Key(key);
    mWriter.RawValue(text.c_str(), text.size(), rapidjson::kNumberType);
    return *this;
  }
  DocumentWriter& Flag(const char* key, bool value) {
    Key(key);
    mWriter.Bool(value);
    return *this;
  }
  DocumentWriter& OpenObject(const char* key) {
    Key(key);
    mWriter.StartObject();
    return *this;
  }
  DocumentWriter& CloseObject() {
    mWriter.EndObject();
    return *this;
  }
  DocumentWriter& OpenArray(const char* key) {
    Key(key);
    mWriter.StartArray();
    return *this;
  }
  DocumentWriter& CloseArray() {
    mWriter.EndArray();
    return *this;
  }

  /// Closes the root object and returns the text; the last call.
  std::string Finish() {
    mWriter.EndObject();
    return mBuffer.GetString();
  }

 private:
  void Key(const char* key) {
    if (key != kNoKey)
      mWriter.Key(key);
  }

  rapidjson::StringBuffer mBuffer;
  rapidjson::Writer<rapidjson::StringBuffer> mWriter{mBuffer};
};

}  // namespace louddesk
