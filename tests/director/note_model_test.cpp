// The note model: ordering of names and values, typed getters and their refusals, removal,
// deep copies and the debugging dump.
#include "kapi/director/Note.h"

#include <gtest/gtest.h>

using Kapi::Director::Note;
using NotePtr = std::shared_ptr<Note>;

TEST(NoteModel, NamesSortByteWiseAndValuesKeepInsertionOrder)
{
    NotePtr n = Note::create("t");
    n->add("b", "1");
    n->add("a", "x");
    n->add("\xc3\xa9", "high byte sorts last");
    n->add("B", "upper case first");
    n->add("b", "2");
    n->add("a", "y");
    std::vector<std::string> order;
    for (const auto& [name, value] : n->entries())
        order.push_back(name + "=" + value.str);
    EXPECT_EQ(order, (std::vector<std::string>{"B=upper case first", "a=x", "a=y", "b=1", "b=2",
                                               "\xc3\xa9=high byte sorts last"}));
    EXPECT_EQ(n->getNumNames(), 4u);
    EXPECT_EQ(n->getStringOr("b", 1, "-"), "2");
    EXPECT_EQ(n->get("b", 2), nullptr);
}

TEST(NoteModel, ValueKindsLookupByIndexAndExactBooleans)
{
    NotePtr n = Note::create();
    NotePtr sub = Note::create("o");
    n->add("s", "text");
    n->add("s", sub);
    EXPECT_EQ(n->getValueType("s", 0), Note::kStringValue);
    EXPECT_EQ(n->getValueType("s", 1), Note::kNoteValue);
    EXPECT_EQ(n->getValueType("s", 2), Note::kNoValue);
    EXPECT_EQ(n->getValueType("missing", 0), Note::kNoValue);

    std::string text = "unchanged";
    EXPECT_FALSE(n->getString("s", 1, &text)); // a sub-note is not a string
    EXPECT_EQ(text, "unchanged");
    EXPECT_EQ(n->getStringOr("s", 1, "dflt"), "dflt");
    NotePtr got;
    EXPECT_FALSE(n->getNote("s", 0, &got)); // a string is not a sub-note
    EXPECT_EQ(got, nullptr);
    ASSERT_TRUE(n->getNote("s", 1, &got));
    EXPECT_EQ(got, sub); // shared, not copied
    EXPECT_EQ(n->getNoteOr("s", 0, nullptr), nullptr);

    // A null sub-note is stored as an empty string.
    n->add("nullNote", NotePtr());
    EXPECT_EQ(n->getValueType("nullNote", 0), Note::kStringValue);

    // Booleans are exactly "true" or "false".
    for (const char* v : {"true", "false", "TRUE", "1", "yes", ""})
        n->add("b", v);
    bool out = false;
    EXPECT_TRUE(n->getBool("b", 0, &out));
    EXPECT_TRUE(out);
    EXPECT_TRUE(n->getBool("b", 1, &out));
    EXPECT_FALSE(out);
    out = true;
    for (unsigned i = 2; i < 6; ++i) {
        EXPECT_FALSE(n->getBool("b", i, &out)) << i;
        EXPECT_TRUE(out) << "left alone";
    }
    EXPECT_TRUE(n->getBoolOr("b", 4, true)); // "yes" gives the default
    EXPECT_FALSE(n->getBoolOr("b", 1, true));
    EXPECT_FALSE(n->getBoolOr("none", 0, false));
}

TEST(NoteModel, NumbersUseCRulesForTheBaseAndMustBeWholeAndDatesBecomeMicroseconds)
{
    NotePtr n = Note::create();
    for (const char* v : {"0x1F", "010", "12abc", "-7", "2147483648", "4294967295",
                          "18446744073709551615", "18446744073709551614", "2.5e3", "1e999"})
        n->add("v", v);
    EXPECT_EQ(n->getUInteger32Or("v", 0, 99), 31u);
    EXPECT_EQ(n->getUInteger32Or("v", 1, 99), 8u);
    EXPECT_EQ(n->getUInteger32Or("v", 2, 99), 99u);
    EXPECT_EQ(n->getIntOr("v", 3, 0), -7);
    EXPECT_EQ(n->getIntOr("v", 4, 5), 5); // does not fit in 32 bits
    EXPECT_EQ(n->getUInteger32Or("v", 5, 0), 4294967295u);
    EXPECT_EQ(n->getUInteger64Or("v", 6, 3), 3u); // all ones counts as a failure
    EXPECT_EQ(n->getUInteger64Or("v", 7, 3), 18446744073709551614ull);
    EXPECT_DOUBLE_EQ(n->getDoubleOr("v", 8, 0), 2500.0);
    EXPECT_DOUBLE_EQ(n->getDoubleOr("v", 9, -1), -1.0);

    int out = 42;
    EXPECT_FALSE(n->getInt("v", 2, &out));
    EXPECT_EQ(out, 42);
    NotePtr withNote = Note::create();
    withNote->add("v", Note::create());
    EXPECT_EQ(withNote->getIntOr("v", 0, 6), 6);

    // Date-times convert to microseconds.
    n->add("when", "2009-02-13 23:31:30");
    n->add("when", "not a date");
    long long micros = 0;
    ASSERT_TRUE(n->getDateTime("when", 0, &micros));
    EXPECT_EQ(micros, 1234567890LL * 1000000);
    EXPECT_EQ(n->getDateTimeOr("when", 1, -5), -5);
}

TEST(NoteModel, RemoveFindsTheIndexedValueAndDeepCopiesShareNothing)
{
    NotePtr n = Note::create();
    n->add("a", "0");
    n->add("a", "1");
    n->add("a", "2");
    n->add("b", "x");
    EXPECT_TRUE(n->remove("a", 1));
    EXPECT_EQ(n->getStringOr("a", 1, ""), "2");
    EXPECT_FALSE(n->remove("b", 1));
    EXPECT_FALSE(n->remove("c", 0));
    EXPECT_EQ(n->removeAll("a"), 2u);
    EXPECT_EQ(n->getNumNames(), 1u);

    // A deep copy shares nothing.
    NotePtr shared = Note::create("s");
    shared->add("x", "1");
    n = Note::create("top");
    n->add("p", shared);
    n->add("q", shared);
    n->add("r", "text");

    NotePtr copy = n->deepCopy();
    EXPECT_TRUE(copy->equals(*n));
    NotePtr p, q;
    ASSERT_TRUE(copy->getNote("p", 0, &p));
    ASSERT_TRUE(copy->getNote("q", 0, &q));
    EXPECT_NE(p, q);
    EXPECT_NE(p, shared);
    p->add("y", "2");
    EXPECT_EQ(shared->count("y"), 0u);
    EXPECT_EQ(q->count("y"), 0u);
    EXPECT_FALSE(copy->equals(*n));
}

TEST(NoteModel, DumpMarksRepeatedNamesAndIndentsSubNotes)
{
    NotePtr n = Note::create("login");
    n->add("user", "a");
    n->add("user", "b");
    NotePtr opts = Note::create("o");
    opts->add("x", "1");
    n->add("opts", opts);
    EXPECT_EQ(n->toString(), "Note: login\n"
                             "opts = Note: o\n"
                             "   x = 1\n"
                             "user = a\n"
                             "     + b\n");

    // An empty name right at the start reads as a repeat of the (empty) previous name.
    NotePtr e = Note::create();
    e->add("", "v");
    e->add("k", "w");
    EXPECT_EQ(e->toString(), "Note: \n + v\nk = w\n");
    EXPECT_EQ(e->toStringRecursive("  "), "Note: \n   + v\n  k = w\n");
}
