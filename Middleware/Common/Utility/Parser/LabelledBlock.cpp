// Blocks of labelled values on standard output. Used from the reactor thread only.

#include "LabelledBlock.h"

#include <cstdio>

void LabelledBlock::Print() const {
  std::fwrite(mText.data(), 1, mText.size(), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}
