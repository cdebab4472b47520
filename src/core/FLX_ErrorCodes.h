#pragma once

/// Codes of the messages that operators post under the type "FLX"; their wording stands in host/ut/UT_ErrorTable.
enum FLX_ErrorCodes {
    FLX_ERR_VAR_UNAVAILABLE = 1,
    FLX_ERR_BADGROUP = 2,
    FLX_ERR_DUPLICATE_PARTICLES = 3,
    FLX_ERR_INDEX_RANGE = 4,
    FLX_ERR_GEOMETRY = 6,
    FLX_ERR_DISPLAY_NOT_COOKED = 8,
    FLX_ERR_ATTRIB_CREATE = 9,
    FLX_ERR_ATTRIB_NAME = 10,
    FLX_ERR_BAD_PATH = 11,
    FLX_ERR_NOT_OWNER = 12,
    FLX_ERR_VEX = 13,
    FLX_ERR_DISTRIBUTION_ATTRIB = 16,
    FLX_ERR_DEFORMING = 22, ///< the deforming geometry changes its topology
    FLX_ERR_SUBNET = 23,    ///< posted under the host's type "OP"
    FLX_ERR_BIRTH_MISSES = 25,
};
