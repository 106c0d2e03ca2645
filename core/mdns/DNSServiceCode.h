#pragma once

#include <cstdint>

/// The error codes of DNS service discovery that the names of this program use.
namespace tarvinel::DNSServiceCode {

inline constexpr std::int32_t noError = 0;
inline constexpr std::int32_t unknown = -65537;       ///< also: nobody there who could publish
inline constexpr std::int32_t nameConflict = -65548;  ///< someone else has the name
inline constexpr std::int32_t notPermitted = -65555;
inline constexpr std::int32_t policyDenied = -65570;  ///< local network privacy refuses
inline constexpr std::int32_t notAllowed = -65571;    ///< the same

}  // namespace tarvinel::DNSServiceCode
