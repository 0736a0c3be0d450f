// A whole host: analyses the sound given first and writes the gabarit given second.
#include <chrono>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

#include <veloria/veloria.h>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: analyse SOUND OUT.sdif\n";
        return 2;
    }
    veloria::features_type features;
    veloria::modeling_type modeling;
    double window_seconds, step_seconds;
    veloria::getDefaultSettings(features, modeling, window_seconds, step_seconds);
    try {
        const char* paths[] = {argv[1]};
        veloria::process_handle* job =
            veloria::process(1, paths, argv[2], features, modeling, window_seconds, step_seconds);
        while (veloria::getState(job) == veloria::process_running) {
            std::cerr << '\r' << static_cast<int>(100 * veloria::getPosition(job)) << " %" << std::flush;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        const std::string message = veloria::getErrorMessage(job);
        veloria::shutdown(job);
        std::cerr << '\r' << (message.empty() ? "done" : message) << '\n';
        return message.empty() ? 0 : 1;
    } catch (const std::exception& error) { // what is wrong with the call, such as a sound that doesn't open
        std::cerr << error.what() << '\n';
    } catch (std::runtime_error* error) { // no thread for the job: the one failure that comes as a pointer
        std::cerr << error->what() << '\n';
        delete error;
    }
    return 1;
}
