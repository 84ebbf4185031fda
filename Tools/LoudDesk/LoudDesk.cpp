// LoudDesk: the loudness meter on a desk. Parses the command line; the subcommands do the rest.

#include <CLI/CLI.hpp>

#include "MeasureCommand.h"
#include "SendCommand.h"
#include "UnitCommand.h"
#include "VerifyCommand.h"
#include "WatchCommand.h"

int main(int argc, char** argv) {
  CLI::App app("LoudDesk: loudness by the service's own engine, on a desk", "LoudDesk");
  app.require_subcommand(1);
  int status = 0;
  louddesk::AddMeasureCommand(app, status);
  louddesk::AddUnitCommand(app, status);
  louddesk::AddVerifyCommand(app, status);
  louddesk::AddWatchCommand(app, status);
  louddesk::AddSendCommand(app, status);
  CLI11_PARSE(app, argc, argv);
  return status;
}
