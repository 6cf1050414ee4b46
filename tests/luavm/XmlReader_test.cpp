// The xmlreader module over libxml2's text reader.
#include <cstdio>
#include <fstream>

#include "LuaTestState.h"
#include "luaKeloXmlReader.h"
#include "support/RunProcess.h"

namespace {

class XmlReader : public KeloTest::LuaStateTest
{
protected:
    void SetUp() override
    {
        LuaStateTest::SetUp();
        luaKelo_preload_xmlreader(L);
        ASSERT_EQ(run(R"(
xmlreader = require('xmlreader')
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

    void expectAll(const std::vector<std::pair<std::string, std::string>>& cases)
    {
        for (const auto& [expression, expected] : cases)
            EXPECT_EQ(eval(expression), expected) << expression;
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

TEST_F(XmlReader, AttributesInnerTextAndSkipping)
{
    ASSERT_EQ(run("r = xmlreader.from_string('<a xmlns:k=\"urn:k\" id=\"7\" k:size=\"big\"/>') "
                  "r:read()"),
              "");
    expectAll({{"r:attribute_count()", "3"},
               {"r:has_attributes()", "true"},
               {"r:get_attribute('id')", "7"},
               {"r:get_attribute(1)", "7"},
               {"r:get_attribute('missing')", "nil"},
               {"r:get_attribute_ns('size', 'urn:k')", "big"},
               {"r:move_to_attribute('id') and r:name() .. '=' .. r:value()", "id=7"},
               {"r:move_to_next_attribute() and r:local_name() .. ' ' .. r:prefix() .. ' ' .. "
                "r:namespace_uri()",
                "size k urn:k"},
               {"r:move_to_next_attribute()", "false"},
               {"r:move_to_element() and r:name()", "a"},
               {"r:read_outer_xml()", "<a xmlns:k=\"urn:k\" id=\"7\" k:size=\"big\"/>"}});

    ASSERT_EQ(run("r = xmlreader.from_string('<a><b>x<i>y</i></b><c>z</c></a>') r:read() r:read()"),
              "");
    expectAll({{"r:read_string()", "xy"},
               {"r:read_inner_xml()", "x<i>y</i>"},
               {"r:next() and r:name()", "c"}});
}

TEST_F(XmlReader, MalformedDocumentsAndClosedReaders)
{
    // The parser reads ahead, so the mismatch is reported before the first node.
    expectAll({{"walk(xmlreader.from_string('<a><b></a>'))",
                "error line 1: Opening and ending tag mismatch: b line 1 and a"},
               {"select(2, xmlreader.from_file('/nonexistent/kelo.xml'))",
                "cannot open /nonexistent/kelo.xml"}});
    EXPECT_EQ(run("xmlreader.from_string()"),
              "test:1: bad argument #1 to 'from_string' (string expected, got no value)");

    ASSERT_EQ(run("r = xmlreader.from_string('<a/>') r:close()"), "");
    expectAll({{"r:read()", "nil"},
               {"r:name()", "nil"},
               {"r:node_type()", "none"},
               {"r", "xmlreader (closed)"}});
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
    EXPECT_EQ(eval("(function() local r = xmlreader.from_file('" + path +
                   "') local n = 0 while r:read() do "
                   "if r:node_type() == 'element' then n = n + 1 end end return n end)()") +
                  "\n",
              lint.out);
    std::remove(path.c_str());
}

} // namespace
