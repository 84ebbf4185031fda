// Orders by request.

#pragma once

#include "ClusterBoard.h"
#include "ClusterControl.h"
#include "ControlToken.h"
#include "Routes.h"

namespace loudgate {

/// Answers GET /api/control: nothing can be sent here.
void AddNoControl(Routes& routes);

/// Answers GET /api/control and, to those who have the token, POST /api/clusters/NAME: sends an
/// order and says what has become of it. All arguments must outlive the routes.
void AddControl(Routes& routes, const ClusterBoard& board, ClusterControl& control,
                const ControlToken& token);

}  // namespace loudgate
