#ifndef STOREKEYS_H
#define STOREKEYS_H

/// Store keys that several classes of the controller agree on without a configuration.
namespace storeKeys {
constexpr char heatStatOverride[]
    = "heatStatOverride"; // the householder's override of the room thermostat, a bool
}

#endif
