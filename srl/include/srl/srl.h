#pragma once
#include "srl/srl_api.h"
#include "srl/srl_types.h"
