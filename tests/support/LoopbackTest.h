// Fixture of the tests of the library over real sockets and the real platform:
//
//     #include "tests/support/LoopbackTest.h"
//     TEST_F(LoopbackTest, ReconnectsAfterTheServiceWasGone) {
//         Game().settings.nReconnectCycle = 1;
//         ASSERT_TRUE(Game().Start());
//         Service().Down();
//         Service().WaitForDisconnect();
//         Service().Up();
//         Service().WaitForConnection(2);
//     }
//
// Verbs: support/ServiceScript.h for Service(), support/GameServer.h for Game().
#pragma once

#include "tests/support/LibraryTest.h"
#include "tests/support/LoopbackService.h"

class LoopbackTest : public Support::LibraryTest<Support::LoopbackService> {};

using namespace Support;
