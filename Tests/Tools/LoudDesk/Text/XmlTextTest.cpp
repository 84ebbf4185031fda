// Escaping for XML.

#include "XmlText.h"

#include <gtest/gtest.h>

namespace louddesk {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

TEST(XmlTextTest, SpecialCharactersBecomeEntities) {
  EXPECT_EQ(XmlEscaped("a<b>&\"c'"), "a&lt;b&gt;&amp;&quot;c&#39;");
  EXPECT_EQ(XmlEscaped("\xC3\xA4 plain"), "\xC3\xA4 plain");
}

TEST(XmlTextTest, WhatXmlCannotHoldIsReplaced) {
  EXPECT_EQ(XmlEscaped("a\x01\nb\x7F"),
            std::string("a") + kReplacement + kReplacement + "b" + kReplacement);
  EXPECT_EQ(XmlEscaped("a\xFF"), std::string("a") + kReplacement);
  EXPECT_EQ(XmlEscaped("\xEF\xBF\xBE\xEF\xBF\xBF"), std::string(kReplacement) + kReplacement);
}

}  // namespace
}  // namespace louddesk
