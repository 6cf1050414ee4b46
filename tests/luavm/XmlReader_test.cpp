// The xmlreader module over libxml2's text reader.
#include <cstdio>
#include <fstream>

#include "LuaTestState.h"
#include "luaKeloXmlReader.h"
#include "support/RunProcess.h"

namespace {

using KeloTest::LuaStateTest;

class XmlReader : public LuaStateTest
{
protected:
    void SetUp() override
    {
        LuaStateTest::SetUp();
        luaKelo_preload_xmlreader(L);
        ASSERT_EQ(run("xmlreader = require('xmlreader')"), "");
        ASSERT_EQ(run(R"(
function walk(r)
  local out = {}
  while true do
    local ok, err = r:read()
    if ok == nil then out[#out + 1] = 'error ' .. err break end
    if not ok then break end
    local line = r:depth() .. ' ' .. r:node_type() .. ' ' .. tostring(r:name())
    if r:has_value() then line = line .. ' [' .. r:value() .. ']' end
    if r:is_empty_element() then line = line .. ' empty' end
    out[#out + 1] = line
  end
  return table.concat(out, '\n')
end)"),
                  "");
    }
};

TEST_F(XmlReader, WalksNodesInDocumentOrder)
{
    EXPECT_EQ(eval("walk(xmlreader.from_string('<a x=\"1\"><b>hi</b><c/><!--n--></a>'))"),
              "0 element a\n"
              "1 element b\n"
              "2 text #text [hi]\n"
              "1 end element b\n"
              "1 element c empty\n"
              "1 comment #comment [n]\n"
              "0 end element a");
}

TEST_F(XmlReader, AttributesByNameIndexAndNamespace)
{
    ASSERT_EQ(run("r = xmlreader.from_string('<a xmlns:k=\"urn:k\" id=\"7\" k:size=\"big\"/>') "
                  "r:read()"),
              "");
    EXPECT_EQ(eval("r:attribute_count()"), "3");
    EXPECT_EQ(eval("r:has_attributes()"), "true");
    EXPECT_EQ(eval("r:get_attribute('id')"), "7");
    EXPECT_EQ(eval("r:get_attribute(1)"), "7");
    EXPECT_EQ(eval("r:get_attribute('missing')"), "nil");
    EXPECT_EQ(eval("r:get_attribute_ns('size', 'urn:k')"), "big");
    EXPECT_EQ(eval("r:move_to_attribute('id') and r:name() .. '=' .. r:value()"), "id=7");
    EXPECT_EQ(eval("r:move_to_next_attribute() and r:local_name() .. ' ' .. r:prefix() .. ' ' .. "
                   "r:namespace_uri()"),
              "size k urn:k");
    EXPECT_EQ(eval("r:move_to_next_attribute()"), "false");
    EXPECT_EQ(eval("r:move_to_element() and r:name()"), "a");
    EXPECT_EQ(eval("r:read_outer_xml()"), "<a xmlns:k=\"urn:k\" id=\"7\" k:size=\"big\"/>");
}

TEST_F(XmlReader, InnerTextAndSkipping)
{
    ASSERT_EQ(run("r = xmlreader.from_string('<a><b>x<i>y</i></b><c>z</c></a>') r:read() r:read()"),
              "");
    EXPECT_EQ(eval("r:read_string()"), "xy");
    EXPECT_EQ(eval("r:read_inner_xml()"), "x<i>y</i>");
    EXPECT_EQ(eval("r:next() and r:name()"), "c");
}

TEST_F(XmlReader, MalformedDocumentsReportAnError)
{
    std::string walked = eval("walk(xmlreader.from_string('<a><b></a>'))");
    // The parser reads ahead, so the mismatch is reported before the first node.
    EXPECT_EQ(walked, "error line 1: Opening and ending tag mismatch: b line 1 and a");
    EXPECT_EQ(eval("select(2, xmlreader.from_file('/nonexistent/kelo.xml'))"),
              "cannot open /nonexistent/kelo.xml");
    EXPECT_EQ(run("xmlreader.from_string()"),
              "test:1: bad argument #1 to 'from_string' (string expected, got no value)");
}

TEST_F(XmlReader, ClosedReadersAnswerNothing)
{
    ASSERT_EQ(run("r = xmlreader.from_string('<a/>') r:close()"), "");
    EXPECT_EQ(eval("r:read()"), "nil");
    EXPECT_EQ(eval("r:name()"), "nil");
    EXPECT_EQ(eval("r:node_type()"), "none");
    EXPECT_EQ(eval("r"), "xmlreader (closed)");
    EXPECT_EQ(run("r:close() r = nil collectgarbage()"), "");
}

TEST_F(XmlReader, ElementCountAgreesWithXmllint)
{
    // A document from the file system, judged by libxml2's own command-line tool.
    std::string path = ::testing::TempDir() + "/kelo-xmlreader.xml";
    {
        std::ofstream out(path);
        out << "<?xml version=\"1.0\"?>\n<root>";
        for (int i = 0; i < 40; ++i)
            out << "<item n=\"" << i << "\"><v>" << i * i << "</v></item>";
        out << "</root>\n";
    }
    KeloTest::ProcessResult lint =
        KeloTest::runProcess("/usr/bin/xmllint", {"--xpath", "count(//*)", path});
    if (lint.exitStatus != 0)
        GTEST_SKIP() << "xmllint is not available";
    ASSERT_EQ(run("local r = xmlreader.from_file('" + path +
                      "') local n = 0 while r:read() do "
                      "if r:node_type() == 'element' then n = n + 1 end end return n",
                  1),
              "");
    EXPECT_EQ(std::to_string(lua_tointeger(L, -1)) + "\n", lint.out);
    lua_pop(L, 1);
    std::remove(path.c_str());
}

} // namespace
