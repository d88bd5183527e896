#include "platforms/posix/TimePattern_p.h"

#include <gtest/gtest.h>

using namespace q32::posix;

TEST(PosixTimePattern, TheHalfDayMarkIsRemovedWithOneBlank) {
    EXPECT_EQ(fnForce24Hour("%I:%M:%S %p", ""), "%H:%M:%S");
    EXPECT_EQ(fnForce24Hour("%p %I:%M", ""), "%H:%M");
    EXPECT_EQ(fnForce24Hour("%p%I h %M", ""), "%H h %M");
    EXPECT_EQ(fnForce24Hour("%I:%M:%S %p %Z", ""), "%H:%M:%S %Z");
    EXPECT_EQ(fnForce24Hour("%I:%M%P", ""), "%H:%M");
    EXPECT_EQ(fnForce24Hour("%-I:%M", ""), "%-H:%M");
    EXPECT_EQ(fnForce24Hour("%l.%M", ""), "%k.%M");
}

TEST(PosixTimePattern, ShorthandsAreExpanded) {
    EXPECT_EQ(fnForce24Hour("%r", "%p %I:%M:%S"), "%H:%M:%S");
    EXPECT_EQ(fnForce24Hour("%r", ""), "%H:%M:%S");
    EXPECT_EQ(fnForce24Hour("%r", "%r"), "%H:%M:%S") << "one that names itself";
    EXPECT_EQ(fnForce24Hour("%T", ""), "%H:%M:%S");
    EXPECT_EQ(fnDropSeconds("%T", ""), "%H:%M");
    EXPECT_EQ(fnDropSeconds("%R", ""), "%H:%M");
    EXPECT_EQ(fnDropSeconds("%r", "%I.%M.%S %p"), "%I.%M %p");
}

TEST(PosixTimePattern, SecondsAreRemovedWithThePrecedingMarkOrTheFollowingUnit) {
    EXPECT_EQ(fnDropSeconds("%H:%M:%S", ""), "%H:%M");
    EXPECT_EQ(fnDropSeconds("%H.%M.%S Uhr", ""), "%H.%M Uhr");
    EXPECT_EQ(fnDropSeconds("%H h %M min %S s", ""), "%H h %M min");
    EXPECT_EQ(fnDropSeconds("%H h %M min %S s %Z", ""), "%H h %M min %Z");
    EXPECT_EQ(fnDropSeconds("%H時%M分%S秒", ""), "%H時%M分");
    EXPECT_EQ(fnDropSeconds("%p %I時%M分%S秒", ""), "%p %I時%M分");
    EXPECT_EQ(fnDropSeconds("%H:%M:%OS", ""), "%H:%M");
    EXPECT_EQ(fnDropSeconds("%H:%M:%S %Z", ""), "%H:%M %Z");
    EXPECT_EQ(fnDropSeconds("%S", ""), "");
    EXPECT_EQ(fnDropSeconds("", ""), "");
}

TEST(PosixTimePattern, PercentSignsAreKept) {
    EXPECT_EQ(fnDropSeconds("%%%H%%S", ""), "%%%H%%S");
    EXPECT_EQ(fnDropSeconds("%H%", ""), "%H") << "a lone one says nothing";
}

TEST(PosixTimePattern, WhatStandsBesideARemovedPieceWithoutABlankStays) {
    EXPECT_EQ(fnForce24Hour("%I:%M-%p", ""), "%H:%M-");
    EXPECT_EQ(fnForce24Hour("%p-%I", ""), "-%H");
    EXPECT_EQ(fnDropSeconds("%H:%M %S", ""), "%H:%M");
    EXPECT_EQ(fnDropSeconds("%Mx%S", ""), "%Mx") << "no mark";
    EXPECT_EQ(fnDropSeconds("%M%S", ""), "%M");
    EXPECT_EQ(fnDropSeconds("%S s %H", ""), "%H");
}
