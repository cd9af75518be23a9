// What all dialog templates have in common. Included by the .rc files alone.
#include <winresrc.h>

// The font of the host's system, so that a dialog grows with the display's scaling.
#define VYN_DIALOG_STYLE \
    STYLE DS_SHELLFONT | DS_MODALFRAME | DS_CENTER | WS_POPUP | WS_CAPTION | WS_SYSMENU
#define VYN_DIALOG_FONT FONT 8, "MS Shell Dlg", 400, 0, 1
#define VYN_DIALOG_LANGUAGE LANGUAGE 0x07, 0x01

#define VYN_LIST CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP
// Arrows beside an edit: a click is a step; the keyboard stays in the edit.
#define VYN_ARROWS SBS_VERT
// The first radio button of a group and the others; what follows the last one begins the next
// group.
#define VYN_FIRST_RADIO WS_GROUP | WS_TABSTOP
#define VYN_RADIO NOT WS_TABSTOP
// Frames and labels that no code needs to find.
#define VYN_NO_ID -1
