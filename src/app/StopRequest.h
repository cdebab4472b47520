#pragma once

/// Ctrl-C: the first asks the work to stop where it can, the second kills.
namespace StopRequest {

void install();
/// Ctrl-C was pressed.
bool raised();

} // namespace StopRequest
