#pragma once

/// Numbered controls that come from the environment.
class UT_EnvControl {
public:
    /// Control 113 is the environment variable FLX_SWITCH_FLAGS as a whole number (0 when unset or no number), read at
    /// each call; every other control is 0.
    static int getInt(int number);
    /// Overrides a control for this process until resetInt(); for tests and embedding programs.
    static void setInt(int number, int value);
    static void resetInt(int number);
};
