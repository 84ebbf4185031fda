// Names of speakers and the preset's texts.

#include "SpeakerNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "SpeakerTexts.h"

namespace louddesk {
namespace {

using testing::HasSubstr;

TEST(SpeakerNamesTest, LongAndShortNamesMeanTheSameInAnyCase) {
  struct {
    const char* name;
    const char* text;
  } const cases[] = {
      {"Left", "Left"},
      {"left", "Left"},
      {"L", "Left"},
      {"l", "Left"},
      {"FL", "Left"},
      {"r", "Right"},
      {"c", "Center"},
      {"lfe", "LowFrequencyEffects"},
      {"LS", "LeftSurround"},
      {"Rs", "RightSurround"},
      {"sl", "LeftSurround"},
      {"lb", "BackSurroundLeft"},
      {"BR", "BackSurroundRight"},
      {"Cs", "MonoSurround"},
      {"none", "None"},
      {"NONE", "None"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(SpeakerNamed(c.name), c.text) << c.name;
}

TEST(SpeakerNamesTest, WhatNamesNoSpeakerIsNone) {
  for (const char* name : {"", "Middle", "Left ", "LL", "Lf", "Surround"})
    EXPECT_FALSE(SpeakerNamed(name)) << name;
}

TEST(SpeakerNamesTest, EveryTextOfThePresetHasAShortNameOfItsOwn) {
  std::set<std::string> names;
  for (const auto& entry : kSpeakerTexts) {
    const std::string name = ShortSpeakerName(entry.text);
    EXPECT_NE(name, entry.text);
    EXPECT_EQ(SpeakerNamed(name), entry.text) << name;
    EXPECT_THAT(SpeakerNamesInWords(), HasSubstr(std::string(entry.text) + " (" + name + ")"));
    names.insert(name);
  }
  EXPECT_EQ(names.size(), std::size(kSpeakerTexts));
}

}  // namespace
}  // namespace louddesk
