// Boost.JSON itself, for machines that no library of it is installed for.
#include <boost/json/src.hpp>
