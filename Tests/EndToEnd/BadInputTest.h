// What the tests of unusable input share: a service that measures and must go on to, and tables of
// cases that cost nothing before they are run.

#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "RunningService.h"

/// A text, or how to make one. Every test runs in a process of its own, which builds the tables of
/// all of them: what is large is made only by the test that sends it.
class Text {
 public:
  Text(const char* text) : Text(std::string(text)) {}
  Text(std::string text) : mMake([text = std::move(text)] { return text; }) {}
  template <typename Make, typename = std::enable_if_t<std::is_invocable_r_v<std::string, Make>>>
  Text(Make make) : mMake(std::move(make)) {}

  std::string Make() const { return mMake(); }

 private:
  std::function<std::string()> mMake;
};

using Texts = std::vector<Text>;

inline louddesk::Frames FramesOf(const Texts& texts) {
  louddesk::Frames frames;
  for (const Text& text : texts)
    frames.push_back(text.Make());
  return frames;
}

/// A case of a table, told apart by its `name`.
template <typename Case>
std::string NameOf(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

/// `count` times `text`.
inline std::string Repeat(const std::string& text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i)
    result += text;
  return result;
}

constexpr std::size_t kDeep = 30000;  // brackets; as long as a document may be

/// Arrays in one another, far deeper than any that is taken.
inline std::string DeepArray() {
  return Repeat("[", kDeep) + Repeat("]", kDeep);
}

inline std::string DeepUnclosedArray() {
  return Repeat("[", kDeep);
}

/// A service that measures, and goes on to.
class BadInputTest : public RunningService {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(Start());
    StartMeasuring();
    ExpectMeasures(-20);
    mUnit.DropLogLines();
    MarkCadence();
  }

  void ExpectMeasuresOn() {
    ExpectCadenceKept();
    ExpectMeasures(-30);
  }
};
