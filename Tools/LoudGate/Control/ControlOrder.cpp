// The table of the orders.

#include "ControlOrder.h"

#include <algorithm>
#include <iterator>

#include "JsonAccess.h"
#include "LuMessages.h"

namespace loudgate {
namespace {

constexpr char kCommandKey[] = "Command";

constexpr ControlOrder kOrders[] = {
    {cLuCmd::kStartText, cLuCmd::kStartText}, {cLuCmd::kPauseText, cLuCmd::kPauseText},
    {cLuCmd::kPlayText, cLuCmd::kPlayText},   {cLuCmd::kStopText, cLuCmd::kStopText},
    {cLuCmd::kResetText, cLuCmd::kResetText}, {"ReportingOn", nullptr, true},
    {"ReportingOff", nullptr, false},
};

}  // namespace

const ControlOrder* ReadControlOrder(const std::string& body) {
  rapidjson::Document document;
  std::string name;
  if (!json::ParseObject(body.c_str(), document) || !json::Read(document, kCommandKey, name))
    return nullptr;
  const auto* const order =
      std::find_if(std::begin(kOrders), std::end(kOrders),
                   [&](const ControlOrder& known) { return name == known.name; });
  return order == std::end(kOrders) ? nullptr : order;
}

std::string ControlOrderNames() {
  std::string names;
  for (const ControlOrder& order : kOrders)
    names += (names.empty() ? "" : ", ") + std::string(order.name);
  return names;
}

}  // namespace loudgate
