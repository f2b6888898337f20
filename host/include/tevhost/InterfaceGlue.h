// What the device's generated interface library supplies for each interface (descriptor, the IBase
// operations, casts and service lookup), written once for the host as a macro.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <tevhost/Sandbox.h>
#include <tevhost/Services.h>
#include <unistd.h>

#include <string>

namespace tevhost {

// The hash of |fqName| as hidl-gen prints it, or 32 zero bytes for an unknown name.
::android::hardware::hidl_array<uint8_t, 32> interfaceHash(const std::string& fqName);

template <typename I>
::android::sp<I> castInterface(const ::android::sp<IBase>& parent) {
    if (parent == nullptr) return nullptr;
    bool found = false;
    auto ret = parent->interfaceChain([&](const auto& chain) {
        for (const auto& descriptor : chain) found = found || descriptor == I::descriptor;
    });
    if (!ret.isOk() || !found) return nullptr;
    return static_cast<I*>(parent.get());
}

template <typename I>
::android::sp<I> getService(const std::string& name) {
    ::android::sp<IBase> registered = registeredService(I::descriptor, name);
    if (registered != nullptr) return castInterface<I>(registered);
    using Factory = I* (*)(const char*);
    auto factory = reinterpret_cast<Factory>(passthroughFactory(I::descriptor));
    if (factory == nullptr) return nullptr;
    sandbox::ServiceScope scope;  // the root is made by the service
    return factory(name.c_str());
}

}  // namespace tevhost

// The service lookup members, which every interface but IBase declares.
#define TEVHOST_SERVICE_LOOKUP(NS, I)                                                     \
    ::android::sp<NS::I> NS::I::tryGetService(const std::string& name, bool) {            \
        return tevhost::getService<NS::I>(name);                                          \
    }                                                                                     \
    ::android::sp<NS::I> NS::I::getService(const std::string& name, bool getStub) {       \
        tevhost::recordLookup(descriptor, name, getStub);                                 \
        return tevhost::getService<NS::I>(name);                                          \
    }                                                                                     \
    ::android::status_t NS::I::registerAsService(const std::string& name) {               \
        tevhost::registerService(descriptor, name, this);                                 \
        return ::android::OK;                                                             \
    }                                                                                     \
    bool NS::I::registerForNotifications(                                                 \
            const std::string&,                                                           \
            const ::android::sp<::android::hidl::manager::V1_0::IServiceNotification>&) { \
        return false;                                                                     \
    }

// Defines the out-of-line members of interface NS::I (NS without a leading "::") with descriptor
// DESC; the variadic arguments
// are the descriptors of its ancestors, nearest first, ending with IBase.
#define TEVHOST_INTERFACE(NS, I, DESC, ...)                                                       \
    const char* NS::I::descriptor(DESC);                                                          \
    ::android::hardware::Return<void> NS::I::interfaceChain(interfaceChain_cb cb) {               \
        cb({DESC, __VA_ARGS__});                                                                  \
        return ::android::hardware::Void();                                                       \
    }                                                                                             \
    ::android::hardware::Return<void> NS::I::debug(                                               \
            const ::android::hardware::hidl_handle&,                                              \
            const ::android::hardware::hidl_vec<::android::hardware::hidl_string>&) {             \
        return ::android::hardware::Void();                                                       \
    }                                                                                             \
    ::android::hardware::Return<void> NS::I::interfaceDescriptor(interfaceDescriptor_cb cb) {     \
        cb(descriptor);                                                                           \
        return ::android::hardware::Void();                                                       \
    }                                                                                             \
    ::android::hardware::Return<void> NS::I::getHashChain(getHashChain_cb cb) {                   \
        ::android::hardware::hidl_vec<::android::hardware::hidl_string> chain{DESC, __VA_ARGS__}; \
        ::android::hardware::hidl_vec<::android::hardware::hidl_array<uint8_t, 32>> hashes(       \
                chain.size());                                                                    \
        for (size_t i = 0; i < chain.size(); ++i) hashes[i] = tevhost::interfaceHash(chain[i]);   \
        cb(hashes);                                                                               \
        return ::android::hardware::Void();                                                       \
    }                                                                                             \
    ::android::hardware::Return<void> NS::I::setHALInstrumentation() {                            \
        return ::android::hardware::Void();                                                       \
    }                                                                                             \
    ::android::hardware::Return<bool> NS::I::linkToDeath(                                         \
            const ::android::sp<::android::hardware::hidl_death_recipient>&, uint64_t) {          \
        return true;                                                                              \
    }                                                                                             \
    ::android::hardware::Return<void> NS::I::ping() {                                             \
        return ::android::hardware::Void();                                                       \
    }                                                                                             \
    ::android::hardware::Return<void> NS::I::getDebugInfo(getDebugInfo_cb cb) {                   \
        ::android::hidl::base::V1_0::DebugInfo info = {};                                         \
        info.pid = getpid();                                                                      \
        info.arch = ::android::hidl::base::V1_0::DebugInfo::Architecture::IS_64BIT;               \
        cb(info);                                                                                 \
        return ::android::hardware::Void();                                                       \
    }                                                                                             \
    ::android::hardware::Return<void> NS::I::notifySyspropsChanged() {                            \
        return ::android::hardware::Void();                                                       \
    }                                                                                             \
    ::android::hardware::Return<bool> NS::I::unlinkToDeath(                                       \
            const ::android::sp<::android::hardware::hidl_death_recipient>&) {                    \
        return true;                                                                              \
    }                                                                                             \
    ::android::hardware::Return<::android::sp<NS::I>> NS::I::castFrom(                            \
            const ::android::sp<::android::hidl::base::V1_0::IBase>& parent, bool) {              \
        return tevhost::castInterface<NS::I>(parent);                                             \
    }

// The members of an interface derived from IBase: its own cast and the service lookup.
#define TEVHOST_SELF_CAST(NS, I)  \
    TEVHOST_SERVICE_LOOKUP(NS, I) \
    TEVHOST_SELF_CAST_ONLY(NS, I)
#define TEVHOST_SELF_CAST_ONLY(NS, I)                                  \
    ::android::hardware::Return<::android::sp<NS::I>> NS::I::castFrom( \
            const ::android::sp<NS::I>& parent, bool) {                \
        return parent;                                                 \
    }

// For an interface with a parent other than IBase (version 1.1 of a package, say).
#define TEVHOST_PARENT_CAST(NS, I, PARENT)                             \
    ::android::hardware::Return<::android::sp<NS::I>> NS::I::castFrom( \
            const ::android::sp<PARENT>& parent, bool) {               \
        return tevhost::castInterface<NS::I>(parent);                  \
    }
