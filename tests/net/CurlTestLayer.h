#ifndef KELO_TESTS_NET_CURLTESTLAYER_H
#define KELO_TESTS_NET_CURLTESTLAYER_H
// Base fixture: the curl layer started for every test the way the process starts it - a
// start-up runner over CurlInitNode, which brings up OpenSSL and the task scheduler first - and
// stopped after it. Each test thus gets a fresh cancel list (shutdown's cancelAll is final for
// the list it closes) and pool.
#include "kapi/Init.h"
#include "kapi/net/CurlInitNode.h"
#include "kapi/vConfig.h"

#include <gtest/gtest.h>

namespace KeloTest {

class CurlLayerTest : public testing::Test
{
protected:
    CurlLayerTest() : m_init("curl-tests", Kapi::Net::CurlInitNode::s_instance) {}
    void SetUp() override { ASSERT_TRUE(m_init.start(Kapi::vConfig())); }
    void TearDown() override { m_init.stop(); }
    Kapi::Net::CurlPool* pool() const { return Kapi::Net::CurlInitNode::s_instance->getCurlPool(); }

    Kapi::Init::Init m_init;
};

} // namespace KeloTest

#endif
