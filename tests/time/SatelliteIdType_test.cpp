// Identifiers as host parameters.
#include <type_traits>

#include <gtest/gtest.h>

#include "gnss/time/GlonassSlotType.h"
#include "gnss/time/PRNType.h"

namespace {

using Corvane::Ident;
using Corvane::Param;
using Corvane::ParamCore;
using Corvane::ParamList;
using GNSS::PRN;
using GNSS::PRNType;
using GNSS::Glonass::Slot;
using GNSS::Glonass::SlotType;

static_assert(!std::is_default_constructible_v<PRNType> && std::is_copy_constructible_v<PRNType>);

TEST(SatelliteIdType, IsKnownToTheHostByName) {
    EXPECT_EQ(ParamCore::MultiType::Find("PRN"), &PRNType::TheType);
    EXPECT_EQ(ParamCore::MultiType::Find("Slot"), &SlotType::TheType);
    EXPECT_EQ(PRNType(PRNType::TheType).GetName(), "PRN");
}

TEST(SatelliteIdType, ParametersHoldIdentifiers) {
    Param<PRN> prn(PRNType::TheVoidDefn);
    EXPECT_TRUE(prn.IsVoid() && prn.Get().IsNull());
    EXPECT_EQ(prn.GetType(), PRNType::TheType.GetType());
    prn.Set(12);
    ParamList list;
    list.Set(Ident("Reference"), prn);
    EXPECT_EQ(list.Get(Ident("Reference"), PRNType::TheVoidDefn).Get(), 12);
    EXPECT_TRUE(list.Get(Ident("Reference"), SlotType::TheVoidDefn).IsVoid()) << "a PRN is no slot";
    prn.SetVoid();
    EXPECT_TRUE(prn.Get().IsNull());
}

}  // namespace
