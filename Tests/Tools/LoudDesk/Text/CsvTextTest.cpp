// Rows of comma-separated values (RFC 4180).

#include "CsvText.h"

#include <gtest/gtest.h>

namespace louddesk {
namespace {

TEST(CsvTextTest, FieldsAreInTheirOrderAndMayBeEmpty) {
  EXPECT_EQ(CsvLine({"a", "", "-23.00"}), "a,,-23.00\n");
}

TEST(CsvTextTest, AFieldWithASeparatorIsQuoted) {
  EXPECT_EQ(CsvLine({"a,b", "say \"so\"", "two\nlines"}),
            "\"a,b\",\"say \"\"so\"\"\",\"two\nlines\"\n");
}

}  // namespace
}  // namespace louddesk
