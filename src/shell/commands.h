#pragma once
// The declarations of the operator commands, each in the file named after its
// command (those this build does not connect: unconnectedCmds.cpp).
#include "argsDecl.h"

extern const CmdDecl runtestCmd, listtestsCmd, versionCmd, i2cCmd, helpCmd, pingCmd, tmpCmd, tmpwrCmd, ledCmd,
    ledwrCmd, ledshowCmd, xfrCmd, gpmcCmd, spiCmd, delayCmd, systemCmd, rampCmd, mtmpCmd, mtmpwrCmd, taCmd, logCmd,
    fpfpgaCmd, fptmpCmd, fptmpwrCmd, enetCmd, pinctrlCmd, fanCmd, measCmd, allokCmd, compCmd, pscCmd, imCmd, oledCmd,
    eepromCmd, pfcCmd, rstCmd, adcCmd, revCmd, acqCmd, lineCmd, bgCmd, calcCmd, utpCmd, ecCmd, fileCmd, mrtmpCmd,
    mrtmpwrCmd, mrefCmd, msdatCmd, matrixCmd, btCmd, sfpCmd, xmlCmd, sdCmd, cfgCmd, capCmd, xthCmd, rmpCmd, dtaCmd;

#define DIAG_HANDLER(name) E_STATUS name(int argc, char argv[][ARG_LEN])
DIAG_HANDLER(testExec);
DIAG_HANDLER(listTests);
DIAG_HANDLER(version);
DIAG_HANDLER(i2c);
DIAG_HANDLER(help);
DIAG_HANDLER(gpmc);
DIAG_HANDLER(cmdDelay);
DIAG_HANDLER(system);
DIAG_HANDLER(cmdTmdAct);
DIAG_HANDLER(cmdLog);
DIAG_HANDLER(fan);
DIAG_HANDLER(allok);
DIAG_HANDLER(bg);
DIAG_HANDLER(utp);
DIAG_HANDLER(errCode);
