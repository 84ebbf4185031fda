// Orders to the services by HTTP request.

#pragma once

#include "ClusterBoard.h"
#include "ClusterControl.h"
#include "ControlToken.h"
#include "Routes.h"

namespace loudgate {

/// Makes GET /api/control answer that no orders are taken.
void AddNoControl(Routes& routes);

/// Answers GET /api/control and, for requests with the token, POST /api/clusters/NAME, which sends
/// an order and answers with its outcome. All arguments must outlive the routes.
void AddControl(Routes& routes, const ClusterBoard& board, ClusterControl& control,
                const ControlToken& token);

}  // namespace loudgate
