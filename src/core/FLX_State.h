#pragma once

/// Bits of the int point attribute "pstate".
enum FLX_StateBits : int {
    FLX_DEAD = 0x2,           ///< reaped at the next step
    FLX_STOPPED = 0x4,        ///< the position, velocity and up rules leave it alone
    FLX_JUSTHIT = 0x8,        ///< set by collisions, cleared at preparation
    FLX_STUCK = 0x10,         ///< the position follows geometry (pospath, posprim, posuv)
    FLX_SUPPRESS_POS = 0x100, ///< these seven suppress one rule of the next step each
    FLX_SUPPRESS_VEL = 0x200,
    FLX_SUPPRESS_UP = 0x400,
    FLX_SUPPRESS_AGE = 0x800,
    FLX_SUPPRESS_REAP = 0x1000,
    FLX_SUPPRESS_ROT = 0x2000,
    FLX_SUPPRESS_ANGVEL = 0x4000,
    FLX_SLIDING = 0x8000, ///< slides on a surface; survives preparation

    FLX_UNMOVED = FLX_DEAD | FLX_STOPPED | FLX_STUCK, ///< what motion operators leave alone
    FLX_CLEARED_EACH_STEP = 0x7f08,
};
