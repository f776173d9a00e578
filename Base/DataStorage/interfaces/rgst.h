#pragma once

/// Whose settings are meant.
enum rgst_eRootKey { rgst_CurrentUser = 0, rgst_AllUsers = 1 };
