// Boost.JSON and Boost.URL compiled with this build's compiler and standard library, for
// builds that cannot link Boost's own libraries (HALYWARD_BOOST_FROM_SOURCE, the libcxx
// preset). Each library's src.hpp holds all of its compiled code, to be included once.
#include <boost/json/src.hpp>
#include <boost/url/src.hpp>
