#pragma once

#include <string>

class CookProfile;

/// The profile as an aligned table for people, the costliest first, with a line end after each row but the last. Shares
/// are of all own times, nanoseconds per particle are own times over the particles of all cooks.
std::string profileTable(const CookProfile& profile);
