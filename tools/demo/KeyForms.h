#pragma once

namespace vela::vlgim::tools {

/// Prints what each form of rotation keys takes in a file and loses, for a bone that swings through 60 keys.
/// False if the channel could not be written or read back.
bool PrintKeyForms();

}  // namespace vela::vlgim::tools
