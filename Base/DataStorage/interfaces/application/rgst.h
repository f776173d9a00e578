#pragma once

/// @file
/// Where settings are stored.

/// Whose settings.
enum rgst_eRootKey {
  rgst_CurrentUser = 0,  ///< those of the user who runs the program
  rgst_AllUsers = 1,     ///< those of the computer
};
