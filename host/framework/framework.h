#pragma once

/// Everything of the host library through one include. docs/host-contract.md lists each name, who calls it and on
/// which thread.

#include "host/framework/baseobject.h"
#include "host/framework/document.h"
#include "host/framework/effectlayerparams.h"
#include "host/framework/localize.h"
#include "host/framework/object3dparams.h"
#include "host/framework/objectnotifier.h"
#include "host/framework/page.h"
#include "host/framework/programframework.h"
#include "host/framework/rootobject.h"
#include "host/framework/services.h"
#include "host/framework/undo.h"
