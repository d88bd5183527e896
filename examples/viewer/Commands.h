/* Numbers of the viewer's resources, also for its resource script. */
#pragma once

#define MENU_MAIN 100
#define STRING_TITLE 128
#define WINDOW_CLASS "q32Viewer"

#define COMMAND_OPEN 1001
#define COMMAND_EXIT 1002
#define COMMAND_ZOOM_IN 1003
#define COMMAND_ZOOM_OUT 1004
#define COMMAND_ACTUAL 1005
#define COMMAND_FIT 1006
#define COMMAND_ROTATE 1007
#define COMMAND_PLAY 1008
#define COMMAND_STOP 1009
