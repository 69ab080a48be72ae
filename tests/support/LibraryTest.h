// The base of the fixtures: a service, a game, and the library between them. Nothing is started.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "tests/support/GameServer.h"
#include "tests/support/ServiceScript.h"

namespace Support {

template <class TransportType>
class LibraryTest : public testing::Test {
protected:
    LibraryTest() : m_service(std::make_unique<TransportType>()), m_game(m_service.Port()) {}

    ServiceScript& Service() { return m_service; }
    GameServer& Game() { return m_game; }

    void TearDown() override
    {
        m_service.HoldReading(false);
        m_game.Stop();
        m_service.SayNothing();
        m_service.Settle();
        for (const std::string& strFault : m_service.Faults())
            ADD_FAILURE() << "The service has met a fault: " << strFault;
        EXPECT_EQ(GameServer::Breaches(), 0) << "a callback has run after UninitModule had returned";
    }

private:
    ServiceScript m_service;
    GameServer m_game;
};

}  // namespace Support
