#include <iostream>

#include <veloria/veloria.hpp>

int main(int argc, char** argv)
{
    veloria::job job({argc > 1 ? argv[1] : ""}, argc > 2 ? argv[2] : "");
    const veloria::outcome end = job.wait([](double done) { std::cerr << '\r' << int(100 * done) << " %"; });
    std::cerr << '\r' << (end ? "done" : end.message) << '\n';
    return end ? 0 : 1;
}
