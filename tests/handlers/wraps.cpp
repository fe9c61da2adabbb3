// SPDX-License-Identifier: Apache-2.0
// The interpreter calls whose arguments the handler tests inspect, intercepted with the linker's
// --wrap (C++ names, hence the symbol labels); the real interpreter still runs behind the first two.
#include "handler_fixture.h"

#define WRAPPED(mangled) asm("__wrap_" mangled)
#define REAL(mangled) asm("__real_" mangled)
#define INIT "_Z22srl_set_init_parameterP23LRob_typePersistentDataP33LRob_typeServerAxesGroupParameter"
#define SERVER_STATE "_Z19srl_rl_server_statei"
#define SYSTEM_STATE "_Z20srl_get_system_stateP20LRob_typeSystemState"

void realInit(LRob_typePersistentData*, LRob_typeServerAxesGroupParameter*) REAL(INIT);
void realServerState(int) REAL(SERVER_STATE);
void wrapInit(LRob_typePersistentData*, LRob_typeServerAxesGroupParameter*) WRAPPED(INIT);
void wrapServerState(int) WRAPPED(SERVER_STATE);
void wrapSystemState(LRob_typeSystemState*) WRAPPED(SYSTEM_STATE);

void wrapInit(LRob_typePersistentData* p, LRob_typeServerAxesGroupParameter* a) {
    handler_test::Intercepted::persistent = p;
    handler_test::Intercepted::axesGroup = a;
    realInit(p, a);
}

void wrapServerState(int state) {
    handler_test::Intercepted::serverStates.push_back(state);
    realServerState(state);
}

// The interface state byte is the test's to choose.
void wrapSystemState(LRob_typeSystemState* state) {
    std::memset(state, 0, sizeof *state);
    state->state.riState = handler_test::Intercepted::riState;
}
