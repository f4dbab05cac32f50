// Boost.JSON itself, for machines that no library of it is installed for.
#include <boost/json/src.hpp>
#include <boost/version.hpp>

static_assert(BOOST_VERSION >= 108100, "Boost 1.81 or newer is needed");
