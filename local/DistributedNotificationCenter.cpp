#include "DistributedNotificationCenter.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <vector>

namespace nbx {

namespace {

using Center = DistributedNotificationCenter;

// --- writing a value as a variant

bool appendValue(sd_bus_message* m, const PropertyValue& value, int depth);

bool appendDictionary(sd_bus_message* m, const PropertyDictionary& dict, int depth) {
    if (sd_bus_message_open_container(m, 'a', "{sv}") < 0) return false;
    for (const auto& [key, value] : dict) {
        if (sd_bus_message_open_container(m, 'e', "sv") < 0 ||
            sd_bus_message_append_basic(m, 's', key.c_str()) < 0 ||
            !appendValue(m, value, depth + 1) || sd_bus_message_close_container(m) < 0)
            return false;
    }
    return sd_bus_message_close_container(m) >= 0;
}

template <class T>
bool appendBasic(sd_bus_message* m, char type, const char* signature, T value) {
    return sd_bus_message_open_container(m, 'v', signature) >= 0 &&
           sd_bus_message_append_basic(m, type, &value) >= 0 &&
           sd_bus_message_close_container(m) >= 0;
}

bool appendValue(sd_bus_message* m, const PropertyValue& value, int depth) {
    if (depth > Center::kMaxDepth) return false;
    using T = PropertyValue::Type;
    switch (value.type()) {
        case T::Boolean:
            return appendBasic<int>(m, 'b', "b", *value.boolean());
        case T::Integer:
            return appendBasic<std::int64_t>(m, 'x', "x", *value.integer());
        case T::Unsigned:
            return appendBasic<std::uint64_t>(m, 't', "t", *value.unsignedInteger());
        case T::Real:
            return appendBasic<double>(m, 'd', "d", *value.real());
        case T::String:
            return sd_bus_message_append(m, "v", "s", value.stringPtr()->c_str()) >= 0;
        case T::Data: {
            const Bytes& bytes = *value.data();
            return sd_bus_message_open_container(m, 'v', "ay") >= 0 &&
                   sd_bus_message_append_array(m, 'y', bytes.data(), bytes.size()) >= 0 &&
                   sd_bus_message_close_container(m) >= 0;
        }
        case T::Array: {
            if (sd_bus_message_open_container(m, 'v', "av") < 0 ||
                sd_bus_message_open_container(m, 'a', "v") < 0)
                return false;
            for (const auto& item : *value.arrayPtr())
                if (!appendValue(m, item, depth + 1)) return false;
            return sd_bus_message_close_container(m) >= 0 && sd_bus_message_close_container(m) >= 0;
        }
        case T::Dictionary:
            return sd_bus_message_open_container(m, 'v', "a{sv}") >= 0 &&
                   appendDictionary(m, *value.dictionaryPtr(), depth) &&
                   sd_bus_message_close_container(m) >= 0;
        case T::Null:
        case T::Date:
            // No bus form: sent as an empty text so the key still arrives.
            return sd_bus_message_append(m, "v", "s", "") >= 0;
    }
    return false;
}

// --- reading a variant's contents back

std::optional<PropertyValue> readValue(sd_bus_message* m, int depth);

std::optional<PropertyValue> readDictionary(sd_bus_message* m, int depth) {
    if (sd_bus_message_enter_container(m, 'a', "{sv}") <= 0) return std::nullopt;
    PropertyDictionary dict;
    for (;;) {
        const int r = sd_bus_message_enter_container(m, 'e', "sv");
        if (r < 0) return std::nullopt;
        if (r == 0) break;
        const char* key = nullptr;
        if (sd_bus_message_read_basic(m, 's', &key) < 0 ||
            sd_bus_message_enter_container(m, 'v', nullptr) <= 0)
            return std::nullopt;
        auto value = readValue(m, depth + 1);
        if (!value || sd_bus_message_exit_container(m) < 0 || sd_bus_message_exit_container(m) < 0)
            return std::nullopt;
        dict.set(key, std::move(*value));
    }
    if (sd_bus_message_exit_container(m) < 0) return std::nullopt;
    return PropertyValue(std::move(dict));
}

template <class T>
std::optional<PropertyValue> readBasic(sd_bus_message* m, char type) {
    T value{};
    if (sd_bus_message_read_basic(m, type, &value) < 0) return std::nullopt;
    // Narrow integers widen to int, so every bus integer has a value form.
    return PropertyValue(+value);
}

std::optional<PropertyValue> readArray(sd_bus_message* m, const char* contents, int depth) {
    if (contents[0] == 'y' && contents[1] == '\0') {
        const void* bytes = nullptr;
        size_t size = 0;
        if (sd_bus_message_read_array(m, 'y', &bytes, &size) < 0) return std::nullopt;
        const auto* begin = static_cast<const std::uint8_t*>(bytes);
        return PropertyValue(Bytes(begin, begin + size));
    }
    if (std::strcmp(contents, "{sv}") == 0) return readDictionary(m, depth);
    if (sd_bus_message_enter_container(m, 'a', contents) <= 0) return std::nullopt;
    PropertyArray items;
    while (sd_bus_message_at_end(m, false) == 0) {
        auto item = readValue(m, depth + 1);
        if (!item) return std::nullopt;
        items.push_back(std::move(*item));
    }
    if (sd_bus_message_exit_container(m) < 0) return std::nullopt;
    return PropertyValue(std::move(items));
}

// Reads the next complete value of the current container, whatever its bus type; nothing for a
// form the dictionaries of this product never hold.
std::optional<PropertyValue> readValue(sd_bus_message* m, int depth) {
    if (depth > Center::kMaxDepth) return std::nullopt;
    char type = 0;
    const char* contents = nullptr;
    if (sd_bus_message_peek_type(m, &type, &contents) <= 0) return std::nullopt;
    switch (type) {
        case 's': {
            const char* text = nullptr;
            if (sd_bus_message_read_basic(m, 's', &text) < 0) return std::nullopt;
            return PropertyValue(text);
        }
        case 'b': {
            int flag = 0;
            if (sd_bus_message_read_basic(m, 'b', &flag) < 0) return std::nullopt;
            return PropertyValue(flag != 0);
        }
        case 'y':
            return readBasic<std::uint8_t>(m, 'y');
        case 'n':
            return readBasic<std::int16_t>(m, 'n');
        case 'q':
            return readBasic<std::uint16_t>(m, 'q');
        case 'i':
            return readBasic<std::int32_t>(m, 'i');
        case 'u':
            return readBasic<std::uint32_t>(m, 'u');
        case 'x':
            return readBasic<std::int64_t>(m, 'x');
        case 't':
            return readBasic<std::uint64_t>(m, 't');
        case 'd':
            return readBasic<double>(m, 'd');
        case 'a':
            return readArray(m, contents, depth);
        case 'v': {
            if (sd_bus_message_enter_container(m, 'v', contents) <= 0) return std::nullopt;
            auto inner = readValue(m, depth + 1);
            if (!inner || sd_bus_message_exit_container(m) < 0) return std::nullopt;
            return inner;
        }
        default:
            return std::nullopt;
    }
}

sd_bus* openSessionBus(std::string* whyNot) {
    sd_bus* bus = nullptr;
    const int r = sd_bus_open_user(&bus);
    if (r < 0) {
        if (whyNot) *whyNot = std::string("no session bus: ") + std::strerror(-r);
        return nullptr;
    }
    return bus;
}

}  // namespace

std::unique_ptr<Center> Center::connectSessionBus(std::string* whyNot) {
    sd_bus* sender = openSessionBus(whyNot);
    if (!sender) return nullptr;
    sd_bus* receiver = openSessionBus(whyNot);
    if (!receiver) {
        sd_bus_flush_close_unref(sender);
        return nullptr;
    }
    std::unique_ptr<Center> center(new Center(sender, receiver));
    // Matching before the thread starts means no signal sent after this returns is missed.
    const auto handler = [](sd_bus_message* m, void* self, sd_bus_error*) {
        return Center::onSignal(m, self, nullptr);
    };
    const int r = sd_bus_match_signal(receiver, nullptr, nullptr, kObjectPath, kInterface, kMember,
                                      handler, center.get());
    if (r < 0 || center->wakeFd_ < 0) {
        if (whyNot) *whyNot = std::string("cannot watch the session bus: ") + std::strerror(-r);
        return nullptr;
    }
    center->thread_ = std::thread([c = center.get()] { c->receive(); });
    return center;
}

Center::DistributedNotificationCenter(sd_bus* sender, sd_bus* receiver)
    : sender_(sender), receiver_(receiver), wakeFd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

Center::~DistributedNotificationCenter() {
    stopping_ = true;
    if (thread_.joinable()) {
        const std::uint64_t one = 1;
        [[maybe_unused]] auto written = ::write(wakeFd_, &one, sizeof one);
        thread_.join();
    }
    if (wakeFd_ >= 0) ::close(wakeFd_);
    sd_bus_flush_close_unref(receiver_);
    sd_bus_flush_close_unref(sender_);
}

bool Center::postNotificationName(const std::string& name, const PropertyValue& userInfo) {
    if (!userInfo.isDictionary()) return false;
    std::lock_guard lock(sendMutex_);
    sd_bus_message* m = nullptr;
    bool ok = sd_bus_message_new_signal(sender_, &m, kObjectPath, kInterface, kMember) >= 0 &&
              sd_bus_message_append_basic(m, 's', name.c_str()) >= 0 &&
              appendDictionary(m, *userInfo.dictionaryPtr(), 0) &&
              sd_bus_send(sender_, m, nullptr) >= 0 && sd_bus_flush(sender_) >= 0;
    sd_bus_message_unref(m);
    return ok;
}

int Center::addObserver(const std::string& name, Observer observer) {
    std::lock_guard lock(observersMutex_);
    const int token = nextToken_++;
    observers_.emplace(token, std::make_pair(name, std::move(observer)));
    return token;
}

void Center::removeObserver(int token) {
    std::lock_guard lock(observersMutex_);
    observers_.erase(token);
}

int Center::onSignal(sd_bus_message* message, void* self, void*) {
    const char* name = nullptr;
    if (sd_bus_message_read_basic(message, 's', &name) < 0) return 0;
    auto userInfo = readDictionary(message, 0);
    // Malformed or foreign signals are dropped.
    if (userInfo) static_cast<Center*>(self)->deliver(name, *userInfo);
    return 0;
}

// The lock is held while observers run, so removeObserver from another thread waits for a
// running observer; observers may add and remove from inside, on this same thread.
void Center::deliver(const std::string& name, const PropertyValue& userInfo) {
    std::lock_guard lock(observersMutex_);
    std::vector<int> tokens;
    for (const auto& [token, entry] : observers_)
        if (entry.first == name) tokens.push_back(token);
    for (int token : tokens) {
        auto it = observers_.find(token);
        if (it == observers_.end()) continue;
        Observer observer = it->second.second;
        observer(name, userInfo);
    }
}

void Center::receive() {
    while (!stopping_) {
        int r;
        while ((r = sd_bus_process(receiver_, nullptr)) > 0 && !stopping_) {
        }
        if (r < 0) disconnected_ = true;
        if (r < 0 || stopping_) break;
        pollfd fds[2] = {
            {sd_bus_get_fd(receiver_), static_cast<short>(sd_bus_get_events(receiver_)), 0},
            {wakeFd_, POLLIN, 0}};
        // The bus may have timers of its own (call replies); a second's cap covers them.
        if (::poll(fds, 2, 1000) < 0 && errno != EINTR) break;
    }
}

}  // namespace nbx
