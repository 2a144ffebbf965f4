#include "demo_server/service.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <thread>

namespace nimb::plant {

namespace {

/// As long as a signal may take to be noticed, should it arrive just before a wait begins.
constexpr std::chrono::milliseconds shortWait{50};

}  // namespace

Service::Service(const CommandLine& command)
    : options_(command.plant), faults_(command.faults, FaultPlan::Clock::now()) {
    if (command.show) options_.say = say;
    if (!command.certificateFolder.empty()) openFolder(command);
    plant_ = std::make_unique<PlantServer>(options_);
    options_.port = plant_->port();  // the same one after a restart
    std::printf("listening %s\n", plant_->url().c_str());
    if (folder_) {
        const std::string& certificate = folder_->own().certificate;
        std::printf("certificate %s, valid until %s\nfingerprint %s\n",
                    folder_->certificateFile().c_str(), lastDayOf(certificate).c_str(),
                    fingerprint(certificate).c_str());
    }
    std::fflush(stdout);
}

void Service::openFolder(const CommandLine& command) {
    folder_.emplace(command.certificateFolder, options_.applicationUri);
    trust_.emplace(*folder_, say);
    verification_ = trust_->verification();
    auto encryption = std::make_shared<Encryption>();
    encryption->certificate = folder_->own().certificate;
    encryption->privateKey = folder_->own().key;
    encryption->clients = &verification_;
    encryption->offerUnencrypted = false;
    options_.encryption = std::move(encryption);
}

void Service::run(const std::atomic<bool>& stopped) {
    while (!stopped) {
        if (const auto fault = faults_.take(FaultPlan::Clock::now())) strike(*fault, stopped);
        plant_->iterate(shortWait);
    }
}

void Service::strike(const Fault& fault, const std::atomic<bool>& stopped) {
    const auto end = FaultPlan::Clock::now() + fault.lasts;
    const auto waitForEnd = [&] {
        while (!stopped && FaultPlan::Clock::now() < end) std::this_thread::sleep_for(shortWait);
    };
    switch (fault.kind) {
        case Fault::Kind::freeze:
            say("fault: frozen");
            waitForEnd();
            say("fault: thawed");
            break;
        case Fault::Kind::restart:
            say("fault: stopped");
            plant_.reset();
            waitForEnd();
            plant_ = std::make_unique<PlantServer>(options_);
            say("fault: started again");
            break;
        case Fault::Kind::dropSessions:
            say("fault: " + std::to_string(plant_->closeSessions()) + " sessions dropped");
            break;
    }
}

void Service::say(const std::string& line) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    std::array<char, 16> time{};
    if (localtime_r(&now, &local) != nullptr) {
        std::strftime(time.data(), time.size(), "%H:%M:%S", &local);
    }
    std::printf("%s %s\n", time.data(), line.c_str());
    std::fflush(stdout);
}

}  // namespace nimb::plant
