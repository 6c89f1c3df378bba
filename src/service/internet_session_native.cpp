// The native build has no network: a session exists only to be passed on, and holds nothing.
#include "service/internet_session.h"

namespace pixelforge {

InternetSession::~InternetSession() = default;

}  // namespace pixelforge
