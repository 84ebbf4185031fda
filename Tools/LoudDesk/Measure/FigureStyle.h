// The option for the output format of figures.

#pragma once

namespace CLI {
class App;
}

namespace louddesk {

enum class FigureStyle {
  kTable,  // text table
  kJson,   // one object per line
  kCsv,    // one row per programme or period
};

/// Adds --format. `style` must outlive the parse.
void AddFormatOption(CLI::App& command, FigureStyle& style);

}  // namespace louddesk
