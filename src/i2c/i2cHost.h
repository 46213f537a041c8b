#pragma once

// The host board behind which an I2C chip sits. Only MAIN, SIGNAL and SIGNAL1
// have multiplexers to select.
enum E_HOST { NONE = 0, CORE = 1, MAIN = 2, SIGNAL = 3, SIGNAL1 = 4, MEAS = 5 };

// No multiplexer channel at this level.
constexpr unsigned NO_MUX = 0xFFFFFFFF;
