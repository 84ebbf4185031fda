// Ordered tables of text and value.

#include "TextTable.h"

#include <gtest/gtest.h>

namespace {

enum Fruit { kNone, kApple, kPineapple, kPlum, kUnknown };

// In a search by substring, "Apple" is found before "Applesauce".
constexpr TextEntry<Fruit> kFruits[] = {
    {"Pineapple", kPineapple},
    {"Apple", kApple},
    {"Applesauce", kUnknown},
    {"Plum", kPlum},
};

TEST(TextTableTest, SubstringSearchFindsTheTextAnywhere) {
  EXPECT_EQ(FindBySubstring(kFruits, "Plum", kNone), kPlum);
  EXPECT_EQ(FindBySubstring(kFruits, "a ripe Plum", kNone), kPlum);
  EXPECT_EQ(FindBySubstring(kFruits, "Plums", kNone), kPlum);
}

TEST(TextTableTest, SubstringSearchReturnsTheFirstRowThatOccurs) {
  EXPECT_EQ(FindBySubstring(kFruits, "Applesauce", kNone), kApple);
  EXPECT_EQ(FindBySubstring(kFruits, "Plum and Apple", kNone), kApple);
}

TEST(TextTableTest, SubstringSearchDistinguishesCase) {
  EXPECT_EQ(FindBySubstring(kFruits, "plum", kNone), kNone);
}

TEST(TextTableTest, EqualitySearchWantsTheWholeText) {
  EXPECT_EQ(FindByEquality(kFruits, "Applesauce", kNone), kUnknown);
  EXPECT_EQ(FindByEquality(kFruits, "Apple", kNone), kApple);
  EXPECT_EQ(FindByEquality(kFruits, "Apples", kNone), kNone);
  EXPECT_EQ(FindByEquality(kFruits, "App", kNone), kNone);
  EXPECT_EQ(FindByEquality(kFruits, "apple", kNone), kNone);
  EXPECT_EQ(FindByEquality(kFruits, "", kNone), kNone);
}

TEST(TextTableTest, OneFallbackServesNullAndUnknownTexts) {
  EXPECT_EQ(FindBySubstring(kFruits, nullptr, kPlum), kPlum);
  EXPECT_EQ(FindBySubstring(kFruits, "", kPlum), kPlum);
  EXPECT_EQ(FindByEquality(kFruits, nullptr, kPlum), kPlum);
  EXPECT_EQ(FindByEquality(kFruits, "Pear", kPlum), kPlum);
}

TEST(TextTableTest, TextOfAValueIsThatOfItsFirstRow) {
  constexpr TextEntry<Fruit> kSynonyms[] = {{"Plum", kPlum}, {"Prune", kPlum}};
  EXPECT_STREQ(FindText(kSynonyms, kPlum, "?"), "Plum");
  EXPECT_STREQ(FindText(kSynonyms, kApple, "?"), "?");
}

}  // namespace
