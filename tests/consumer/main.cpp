#include <halyward/core.hpp>

#include <cstdio>

int main() {
    std::puts(halyward::HalywardVersion::current);
    return halyward::ShellQuote::command({"a b"}) == "'a b'" ? 0 : 1;
}
