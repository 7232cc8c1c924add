/*
 * The machine as if somebody sat before it: shutting it down, keys and the mouse.
 *
 * Keys and the mouse need a display: the desktop of Windows, or an X server (DISPLAY) with its
 * XTEST extension and the libraries libX11 and libXtst. Functions may be called from any thread.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_MACHINE_CONTROL_H
#define MOLTELIB_MACHINE_CONTROL_H

#include "moltelib/base.h"

/*
 * SHUTS THE MACHINE DOWN, programs that don't answer included: restarts it, or turns it off with
 * bRestart 0. Not zero when that has begun; 0 on failure, and nothing is reported. A step on the
 * way to the privilege that fails prints "... failed with %d\n" to the standard output, and the
 * machine is shut down all the same.
 */
MOLTE_API int32_t ORVEX_ShutDownSystem(int32_t bRestart);

#define ORVEX_KEY_UP 0x40u /* bit 6 of nFlags */

/*
 * Presses the key with that virtual-key code of Windows ('A' to 'Z', '0' to '9', 0x0D for Enter,
 * 0x70 for F1), or lets it go with ORVEX_KEY_UP. nScanCode goes to Windows; elsewhere it isn't
 * looked at. ALWAYS 1, also for a key that there isn't, and without a display.
 */
MOLTE_API int32_t SYSOP_KeyEvent(int32_t nVirtualKey, int32_t nScanCode, uint32_t nFlags);

#define ORVEX_MOUSE_LEFT_DOWN 0x01u
#define ORVEX_MOUSE_LEFT_UP 0x02u
#define ORVEX_MOUSE_RIGHT_DOWN 0x04u
#define ORVEX_MOUSE_RIGHT_UP 0x08u
#define ORVEX_MOUSE_MOVE 0x10u

/*
 * Moves the mouse to a place of the screen, in pixels from its upper left corner, if nFlags has
 * ORVEX_MOUSE_MOVE, and then presses its buttons or lets them go; 1. -1 with error 50 and the
 * system's error without a display.
 */
MOLTE_API int32_t SYSOP_MouseEvent(uint32_t nFlags, int32_t x, int32_t y);

/* Burns a little time: calls rand of the run-time 20,000 times; the last result. */
MOLTE_API int32_t DummyFunc(void);

#endif
