/// @file
/// The ids of the library's messages.
#pragma once

/// Ids of the library's own messages.
enum CQ_MESSAGE : int {
    MESSAGE_NONE = 0,               ///< no message
    MESSAGE_NO_MEMORY = -1,         ///< memory is exhausted
    MESSAGE_START_FAILED = -2,      ///< the program can't start
    MESSAGE_CANNOT_OPEN = -3,       ///< a file can't be opened
    MESSAGE_CANNOT_READ = -4,       ///< a file can't be read
    MESSAGE_CANNOT_SAVE = -5,       ///< a file can't be saved
    MESSAGE_CORRUPTED = -6,         ///< a file is invalid or corrupted
    MESSAGE_IN_USE = -7,            ///< a file is in use by another program
    MESSAGE_CANNOT_RENAME = -8,     ///< a file can't get its new name, the second argument
    MESSAGE_READ_ONLY = -9,         ///< a file can't be overwritten
    MESSAGE_NAME_TOO_LONG = -10,    ///< a file name is too long
    MESSAGE_EMPTY = -11,            ///< a file is empty
    MESSAGE_LOW_DISK_SPACE = -100,  ///< asks whether to continue
    MESSAGE_MAYBE_READ_ONLY = -101, ///< a file may be read-only
    MESSAGE_UNSUPPORTED = -102,     ///< the format of a file is not supported
    MESSAGE_OUT_OF_RANGE = -103,    ///< a value isn't between the two arguments
    MESSAGE_NO_FOLDER = -104,       ///< a folder doesn't exist
    MESSAGE_EXISTS = -105,          ///< asks whether to overwrite a file
    MESSAGE_NOT_FOUND = -106,       ///< a file is missing
    MESSAGE_SAVE_CHANGES = -200     ///< asks whether to save a document before it is closed
};
