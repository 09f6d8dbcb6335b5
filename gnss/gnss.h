// Everything public of GNSS in one include.
#pragma once

#include "gnss/fwd.h"

// Time and identity.
#include "gnss/time/Constants.h"
#include "gnss/time/GPSFreqy.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/GPSTimeUTCConverter.h"
#include "gnss/time/GloTime.h"
#include "gnss/time/GlonassFrequency.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/GlonassSlotType.h"
#include "gnss/time/Latitude.h"
#include "gnss/time/Longitude.h"
#include "gnss/time/PRN.h"
#include "gnss/time/PRNType.h"

// Geodesy.
#include "gnss/geodesy/ECEF.h"
#include "gnss/geodesy/Geog.h"
#include "gnss/geodesy/Grid.h"
#include "gnss/geodesy/GridCovar.h"
#include "gnss/geodesy/GridSD.h"
#include "gnss/geodesy/HelmertShift.h"
#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/QGeog.h"
#include "gnss/geodesy/QGrid.h"
#include "gnss/geodesy/Spheroid.h"

// Measurements.
#include "gnss/measurement/GPSMeas.h"
#include "gnss/measurement/GlonassMeasurement.h"
#include "gnss/measurement/MSAdjust.h"
#include "gnss/measurement/MeasAvail.h"
#include "gnss/measurement/MeasSet.h"

// Almanac, its records, ionosphere and UTC.
#include "gnss/almanac/Almanac.h"
#include "gnss/almanac/AlmanacCalculator.h"
#include "gnss/almanac/AlmanacGlonassOrbit.h"
#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/almanac/AlmanacUpdate.h"

// Ephemerides, their histories and calculators, data age.
#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GPSEphemerisCalc.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "gnss/ephemeris/GlonassEphemerisCalc.h"
#include "gnss/ephemeris/IODEData.h"
#include "gnss/ephemeris/TbData.h"

// Navigation messages.
#include "gnss/icd/ICD.h"
#include "gnss/icd/ICDGlonass.h"

// Health and notes.
#include "gnss/health/Notes.h"
#include "gnss/health/NotesHistory.h"
#include "gnss/health/SVHealth.h"
#include "gnss/health/SVHealthSet.h"
#include "gnss/health/SVHealthUpdate.h"

// The record of a fix.
#include "gnss/position/Constellation.h"
#include "gnss/position/DOP.h"
#include "gnss/position/Position.h"
#include "gnss/position/PositionAttribute.h"
#include "gnss/position/PositionCalcInfo.h"
#include "gnss/position/PositionCoord.h"
#include "gnss/position/PositionGeoid.h"
#include "gnss/position/PositionStation.h"
#include "gnss/position/PositionStatusInfo.h"
#include "gnss/position/PositionVelocityInfo.h"
#include "gnss/position/UKOOA.h"
#include "gnss/position/UKOOADesc.h"
#include "gnss/position/UKOOAResid.h"
#include "gnss/position/UKOOAStation.h"

// The stores of live data, and the types of their links.
#include "gnss/store/AlmanacStore.h"
#include "gnss/store/GNSSLink.h"
#include "gnss/store/GPSEphemStore.h"
#include "gnss/store/GlonassEphemStore.h"

// What the operator sees.
#include "gnss/display/AlmanacView.h"
#include "gnss/display/ConstellationArtist.h"
#include "gnss/display/ConstellationStyle.h"
#include "gnss/display/ConstellationTable.h"
#include "gnss/display/DOPTable.h"
#include "gnss/display/DopArt.h"
#include "gnss/display/EphemerisView.h"
#include "gnss/display/GlonassEphemerisView.h"
