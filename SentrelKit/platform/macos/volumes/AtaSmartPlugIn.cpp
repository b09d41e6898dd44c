// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/volumes/AtaSmartPlugIn.h>

#include <IOKit/storage/ata/ATASMARTLib.h>

#include <cerrno>
#include <cstring>

namespace sentrel::platform {

namespace {

static_assert(sizeof(ATASMARTData) == sizeof(SmartData));

class AtaSmart final : public SmartInterface {
public:
    explicit AtaSmart(IOATASMARTInterface** interface) noexcept : interface_(interface) {}
    ~AtaSmart() override { (*interface_)->Release(interface_); }
    AtaSmart(const AtaSmart&) = delete;
    AtaSmart& operator=(const AtaSmart&) = delete;

    bool enableOperations(bool enable) override {
        return (*interface_)->SMARTEnableDisableOperations(interface_, enable) == kIOReturnSuccess;
    }

    bool enableAutosave(bool enable) override {
        return (*interface_)->SMARTEnableDisableAutosave(interface_, enable) == kIOReturnSuccess;
    }

    std::optional<bool> returnStatus() override {
        Boolean isExceeded = false;
        if ((*interface_)->SMARTReturnStatus(interface_, &isExceeded) != kIOReturnSuccess)
            return std::nullopt;
        return isExceeded != 0;
    }

    bool executeOffLineImmediate(bool extendedTest) override {
        return (*interface_)->SMARTExecuteOffLineImmediate(interface_, extendedTest) == kIOReturnSuccess;
    }

    bool readData(SmartData& data) override {
        ATASMARTData native{};
        if ((*interface_)->SMARTReadData(interface_, &native) != kIOReturnSuccess)
            return false;
        std::memcpy(data.data(), &native, data.size());
        return true;
    }

    bool readThresholds(SmartData& /*thresholds*/) override {
        errno = ENOTSUP;
        return false;
    }

    bool readHealthLog(SmartData& /*log*/) override {
        errno = ENOTSUP;
        return false;
    }

    bool validateData(const SmartData& data) override {
        ATASMARTData native{};
        std::memcpy(&native, data.data(), data.size());
        return (*interface_)->SMARTValidateReadData(interface_, &native) == kIOReturnSuccess;
    }

private:
    IOATASMARTInterface** const interface_;
};

} // namespace

std::unique_ptr<AtaSmartPlugIn> AtaSmartPlugIn::create(io_service_t service) {
    IOCFPlugInInterface** plugIn = nullptr;
    SInt32 score = 0;
    if (IOCreatePlugInInterfaceForService(service, kIOATASMARTUserClientTypeID, kIOCFPlugInInterfaceID, &plugIn,
                                          &score) != kIOReturnSuccess)
        return nullptr;
    return plugIn ? std::make_unique<AtaSmartPlugIn>(plugIn) : nullptr;
}

AtaSmartPlugIn::~AtaSmartPlugIn() {
    IODestroyPlugInInterface(plugIn_);
}

std::unique_ptr<SmartInterface> AtaSmartPlugIn::queryInterface() {
    IOATASMARTInterface** interface = nullptr;
    const HRESULT result = (*plugIn_)->QueryInterface(plugIn_, CFUUIDGetUUIDBytes(kIOATASMARTInterfaceID),
                                                      reinterpret_cast<LPVOID*>(&interface));
    return result == S_OK && interface ? std::make_unique<AtaSmart>(interface) : nullptr;
}

} // namespace sentrel::platform
