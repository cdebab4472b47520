#pragma once

/// How an operator goes together with passes that wait (see FLX_PassQueue). Whatever it says, the passes run when it
/// asks the context for the particles.
enum class FLX_PassUse {
    /// Everything before it is done when it has its inputs, and its own passes run at once. Always right.
    Barrier,
    /// Its passes join those that wait, and all have run when its cook ends: for passes that write a group, an event or
    /// a string.
    Closing,
    /// Its passes wait. They hold every value they use, read and write their own particle alone, and post nothing but
    /// the warning that a parameter was no number. Or it has none, and reaches particles through the context only.
    Queued,
};
