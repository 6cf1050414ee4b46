// The desktop key table against the key values the port's key map understands.
#include "MirrorKeys.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <set>

using SimMirror::mirrorKeys;
using SimMirror::mirrorKeySymbol;

namespace {

// Key values of the port's remote keys (everything but the character rows).
const std::set<uint32> kRemoteKeys = {
    0xf043, 0xf045, 0xf042, 0xf044, 0xf648, 0xf048, 0xf00c, 0xf002, 0xf003, 0xf001, 0xf000,
    0xf00a, 0xf052, 0xf014, 0xf051, 0xf059, 0xf05a, 0xf05c, 0xf05b, 0xf01f, 0xf012, 0xf020};

bool knownToThePort(uint32 symbol)
{
    return (symbol >= 0xf601 && symbol <= 0xf61a) || (symbol >= 0x30 && symbol <= 0x39) ||
           kRemoteKeys.count(symbol) != 0;
}

} // namespace

TEST(MirrorKeys, DesktopKeysGiveTheRemoteSymbols)
{
    const struct
    {
        SDL_Keycode key;
        uint32 symbol;
    } cases[] = {
        {SDLK_a, 0xf601},         {SDLK_m, 0xf60d},        {SDLK_z, 0xf61a},
        {SDLK_0, 0x30},           {SDLK_9, 0x39},          {SDLK_KP_0, 0x30},
        {SDLK_KP_1, 0x31},        {SDLK_KP_9, 0x39},       {SDLK_UP, 0xf002},
        {SDLK_DOWN, 0xf003},      {SDLK_LEFT, 0xf000},     {SDLK_RIGHT, 0xf001},
        {SDLK_RETURN, 0xf00c},    {SDLK_KP_ENTER, 0xf00c}, {SDLK_ESCAPE, 0xf048},
        {SDLK_BACKSPACE, 0xf648}, {SDLK_F1, 0xf042},       {SDLK_F2, 0xf043},
        {SDLK_F3, 0xf044},        {SDLK_F4, 0xf045},       {SDLK_SPACE, 0xf00a},
    };
    for (const auto& c : cases)
        EXPECT_EQ(mirrorKeySymbol(c.key), c.symbol) << SDL_GetKeyName(c.key);
}

TEST(MirrorKeys, KeysBesideTheRunsAndOtherKeysAreNotForwarded)
{
    // Neighbours of every run end, and keys with no remote meaning.
    const SDL_Keycode others[] = {SDLK_BACKQUOTE, '{',           '/',         SDLK_COLON,
                                  SDLK_TAB,       SDLK_LSHIFT,   SDLK_DELETE, SDLK_KP_PERIOD,
                                  SDLK_KP_MINUS,  SDLK_CAPSLOCK, SDLK_UNKNOWN};
    for (SDL_Keycode key : others)
        EXPECT_EQ(mirrorKeySymbol(key), 0u) << "key 0x" << std::hex << key;
}

TEST(MirrorKeys, TableCoversEveryRemoteKeyOnceWithoutOverlaps)
{
    const auto keys = mirrorKeys();
    std::set<uint32> reached;
    for (size_t i = 0; i < keys.size(); ++i) {
        const auto& row = keys[i];
        ASSERT_LE(row.first, row.last) << row.keys;
        for (SDL_Keycode key = row.first; key <= row.last; ++key) {
            const uint32 symbol = mirrorKeySymbol(key);
            EXPECT_TRUE(knownToThePort(symbol)) << row.keys << " gives 0x" << std::hex << symbol;
            reached.insert(symbol);
        }
        for (size_t j = i + 1; j < keys.size(); ++j)
            EXPECT_TRUE(keys[j].last < row.first || keys[j].first > row.last)
                << row.keys << " overlaps " << keys[j].keys;
        EXPECT_NE(row.meaning, nullptr);
    }
    for (uint32 remote : kRemoteKeys)
        EXPECT_EQ(reached.count(remote), 1u) << "no desktop key for 0x" << std::hex << remote;
    for (uint32 symbol = 0xf601; symbol <= 0xf61a; ++symbol)
        EXPECT_EQ(reached.count(symbol), 1u);
    for (uint32 symbol = 0x30; symbol <= 0x39; ++symbol)
        EXPECT_EQ(reached.count(symbol), 1u);
}
