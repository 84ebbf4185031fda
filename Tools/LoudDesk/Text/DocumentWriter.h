// Writes compact JSON documents, member by member in the order of the calls.

#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <optional>
#include <string>

#include "FigureText.h"

namespace louddesk {

/// For `Number`: a value that is missing.
constexpr char kJsonNull[] = "null";

/// Starts inside the root object. Every call returns the writer. Members of an array have no key:
/// pass kNoKey.
class DocumentWriter {
 public:
  static constexpr const char* kNoKey = nullptr;

  DocumentWriter() { mWriter.StartObject(); }

  DocumentWriter& Text(const char* key, const std::string& value) {
    return Write(key, [&] {
      mWriter.String(value.c_str(), static_cast<rapidjson::SizeType>(value.size()));
    });
  }
  DocumentWriter& Signed(const char* key, int value) {
    return Write(key, [&] { mWriter.Int(value); });
  }
  DocumentWriter& Unsigned(const char* key, unsigned value) {
    return Write(key, [&] { mWriter.Uint(value); });
  }
  DocumentWriter& Flag(const char* key, bool value) {
    return Write(key, [&] { mWriter.Bool(value); });
  }
  /// Writes a figure with two decimals, or null without a reading.
  DocumentWriter& Figure(const char* key, const std::optional<double>& figure) {
    return Number(key, FigureText(figure, kJsonNull));
  }
  /// Writes `text`, a JSON number or null, unchanged.
  DocumentWriter& Number(const char* key, const std::string& text) {
    return Write(key, [&] { mWriter.RawValue(text.c_str(), text.size(), rapidjson::kNumberType); });
  }
  DocumentWriter& OpenObject(const char* key) {
    return Write(key, [&] { mWriter.StartObject(); });
  }
  DocumentWriter& OpenArray(const char* key) {
    return Write(key, [&] { mWriter.StartArray(); });
  }
  DocumentWriter& CloseObject() {
    return Write(kNoKey, [&] { mWriter.EndObject(); });
  }
  DocumentWriter& CloseArray() {
    return Write(kNoKey, [&] { mWriter.EndArray(); });
  }

  /// Closes the root object and returns the document. No call may follow.
  std::string Finish() {
    mWriter.EndObject();
    return mBuffer.GetString();
  }

 private:
  template <typename WriteValue>
  DocumentWriter& Write(const char* key, WriteValue writeValue) {
    if (key != kNoKey)
      mWriter.Key(key);
    writeValue();
    return *this;
  }

  rapidjson::StringBuffer mBuffer;
  rapidjson::Writer<rapidjson::StringBuffer> mWriter{mBuffer};
};

}  // namespace louddesk
