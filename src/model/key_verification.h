#pragma once

// Whether the user has vouched for a contact's key. The chat header and the
// node's details show the same three states.
enum class KeyVerification {
    verified,   // the contact's key is among the verified keys
    conflict,   // not verified, and another verified key carries the contact's name
    unverified, // neither
};

// `hasConflictingKey`: the controller knows another verified key registered
// under the contact's name.
constexpr KeyVerification keyVerification(bool isVerified, bool hasConflictingKey) {
    if (isVerified)
        return KeyVerification::verified;
    return hasConflictingKey ? KeyVerification::conflict : KeyVerification::unverified;
}
