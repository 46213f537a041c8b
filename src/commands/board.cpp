#include "board.h"

Board::Board(LineRunner runLine) : devices{fpga, i2c, psc, std::move(runLine)} {}
