// SPDX-License-Identifier: Apache-2.0
#pragma once
#include "srl/srl_api.h"
#include "srl/srl_types.h"
