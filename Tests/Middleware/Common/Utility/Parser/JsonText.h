// Makes JSON values for tests from their text.

#pragma once

#include <gtest/gtest.h>

#include <string>

#include "JsonAccess.h"

/// Parses the text. Fails the test if it is not JSON.
inline rapidjson::Document Json(const std::string& text) {
  rapidjson::Document document;
  EXPECT_TRUE(json::Parse(text.c_str(), document)) << text;
  return document;
}
