// How figures are written: the option for it.

#pragma once

namespace CLI {
class App;
}

namespace louddesk {

enum class FigureStyle {
  kTable,  // for people
  kJson,   // an object a line
  kCsv,    // a row a programme or period
};

/// Adds --format. `style` must outlive the parse.
void AddFormatOption(CLI::App& command, FigureStyle& style);

}  // namespace louddesk
