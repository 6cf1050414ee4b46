#ifndef KELO_TESTS_NET_CURLTESTLAYER_H
#define KELO_TESTS_NET_CURLTESTLAYER_H
// Test helper: the curl layer started the way the process starts it - a start-up runner over
// CurlInitNode, which brings up OpenSSL and the task scheduler first - and stopped again when
// the object goes. Each test gets a fresh cancel list (shutdown's cancelAll is final for the
// list it closes) and pool.
#include "kapi/Init.h"
#include "kapi/net/CurlInitNode.h"
#include "kapi/vConfig.h"

#include <gtest/gtest.h>

namespace KeloTest {

class CurlLayer
{
public:
    explicit CurlLayer(const char* configText = "")
        : m_init("curl-tests", Kapi::Net::CurlInitNode::s_instance)
    {
        Kapi::vConfig config;
        config.fromString(configText);
        m_started = m_init.start(config);
    }
    ~CurlLayer() { m_init.stop(); }
    CurlLayer(const CurlLayer&) = delete;
    CurlLayer& operator=(const CurlLayer&) = delete;

    bool started() const { return m_started; }

private:
    Kapi::Init::Init m_init;
    bool m_started = false;
};

// Base fixture: the layer is up for every test.
class CurlLayerTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_layer.started()); }
    Kapi::Net::CurlPool* pool() const { return Kapi::Net::CurlInitNode::s_instance->getCurlPool(); }

    CurlLayer m_layer;
};

} // namespace KeloTest

#endif
