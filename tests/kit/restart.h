#pragma once

namespace kit {

/**
 * Has the machine's own start carry out what is pending, as a restart does; this process goes on.
 * @return false where only a real restart would
 */
bool CarryOutPending();

} // namespace kit
