#include "exchange.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace tool {

namespace {

constexpr uint32_t kMost = 512;
constexpr int32_t kSeconds = 10;  // a server that says nothing for so long is given up
constexpr size_t kMostName = sizeof(Parameter::szName) - 1;
constexpr size_t kMostValue = sizeof(Parameter::abyValue);

template <typename Number>
bool put_number(const std::string& text, Number* number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
    return error == std::errc() && end == text.data() + text.size();
}

int32_t size_of(const Parameters& parameters) {
    return static_cast<int32_t>(parameters.size() * sizeof(Parameter));
}

std::string hex_of(const uint8_t* bytes, size_t size) {
    std::string text;
    for (size_t i = 0; i < size; ++i) {
        text += "0123456789abcdef"[bytes[i] >> 4];
        text += "0123456789abcdef"[bytes[i] & 15];
    }
    return text;
}

size_t bytes_of(const Parameter& parameter) {
    return std::min<size_t>(parameter.nMaxLen, kMostValue);
}

std::string raw_text(const Parameter& parameter) {
    const auto* bytes = reinterpret_cast<const char*>(parameter.abyValue);
    std::string text(bytes, strnlen(bytes, kMostValue));
    while (!text.empty() && text.back() == '\n') text.pop_back();  // some are times with their end
    return text;
}

}  // namespace

// ---- The server ----

Server::Server(Tool& tool, const std::string& address) : name_(shown(address)) {
    const size_t colon = address.rfind(':');
    int32_t port = 0;
    const bool has_port =
        colon != std::string::npos && colon > 0 && put_number(address.substr(colon + 1), &port);
    if (!has_port || port < 1 || port > 65535) {
        throw Failure("\"" + name_ + "\" is no HOST:PORT", kUsage);
    }
    const std::string host = to_library(tool.argument(address.substr(0, colon)));
    socket_ = ORVEX_SOCK_ClientOpen(host.c_str(), port);
    if (socket_ == OXSOCKET_INVALID) throw Failure("No server answers at " + name_);
    if (ORVEX_SOCK_SetRecvTimeOut(socket_, kSeconds) < 0 ||
        ORVEX_SOCK_SetSendTimeOut(socket_, kSeconds) < 0) {
        Failure failure("The connection to " + name_ + " can't be used");
        ORVEX_SOCK_Close(socket_);
        throw failure;
    }
}

Server::~Server() {
    ORVEX_SOCK_Close(socket_);
}

Server::Answer Server::ask(Request request, const Parameters& parameters) {
    const auto count = static_cast<uint32_t>(parameters.size());
    std::vector<uint8_t> message(8 + parameters.size() * sizeof(Parameter));
    uint4ToChar4(static_cast<uint32_t>(request), message.data());
    uint4ToChar4(count, message.data() + 4);
    if (count > 0) {
        std::memcpy(message.data() + 8, parameters.data(), parameters.size() * sizeof(Parameter));
    }
    check(ORVEX_SOCK_Send(socket_, message.data(), static_cast<int32_t>(message.size())),
          name_ + " takes no request");
    uint8_t head[8];
    check(ORVEX_SOCK_Recv(socket_, head, sizeof head), name_ + " gives no answer");
    Answer answer{static_cast<int32_t>(Char4To_uint4(head)), {}};
    const uint32_t answered = Char4To_uint4(head + 4);
    if (answered > kMost || (request != Request::list && answered != count)) {
        throw Failure(name_ + " speaks another exchange: it answers " + std::to_string(answered) +
                      " records");
    }
    answer.parameters.resize(answered);
    check(ORVEX_SOCK_Recv(socket_, answer.parameters.data(), size_of(answer.parameters)),
          name_ + " breaks off in its answer");
    for (size_t i = 0; i < answer.parameters.size(); ++i) {
        Parameter& parameter = answer.parameters[i];
        parameter.szName[kMostName] = '\0';
        if (i < count && std::strcmp(parameter.szName, parameters[i].szName) != 0) {
            throw Failure(name_ + " speaks another exchange: it answers \"" +
                          shown(from_library(parameter.szName)) + "\" to \"" +
                          shown(from_library(parameters[i].szName)) + "\"");
        }
    }
    return answer;
}

Parameters Server::list() {
    return ask(Request::list, {}).parameters;
}

Parameters Server::get(const std::vector<std::string>& names) {
    if (names.size() > kMost) {
        throw Failure("At most " + std::to_string(kMost) + " parameters at once", kUsage);
    }
    Parameters wanted(names.size());
    for (size_t i = 0; i < names.size(); ++i) {
        if (names[i].empty() || names[i].size() > kMostName) {
            throw Failure("\"" + shown(from_library(names[i])) +
                              "\" is no name of a parameter: they have 1 to " +
                              std::to_string(kMostName) + " bytes",
                          kUsage);
        }
        names[i].copy(wanted[i].szName, kMostName);
    }
    return ask(Request::get, wanted).parameters;
}

bool Server::change(Request request, const Parameters& parameters) {
    return ask(request, parameters).result == 1;
}

// ---- What a parameter holds ----

std::string name_of(const Parameter& parameter) {
    return {parameter.szName, strnlen(parameter.szName, sizeof parameter.szName)};
}

const char* type_name(const Parameter& parameter) {
    constexpr const char* names[] = {"int", "text", "bytes", "long"};
    return parameter.nType < 4 ? names[parameter.nType] : "unknown";
}

Json value_object(const Parameter& parameter) {
    switch (parameter.nType) {
        case MOLTE_PARAM_INT:
            return static_cast<int32_t>(Char4To_uint4(parameter.abyValue));
        case MOLTE_PARAM_LONG:
            return static_cast<int64_t>(Char8To_uint8(parameter.abyValue));
        case MOLTE_PARAM_TEXT:
            return from_library(raw_text(parameter));
        case MOLTE_PARAM_BYTES:
            return hex_of(parameter.abyValue, bytes_of(parameter));
        default:
            return hex_of(parameter.abyValue, kMostValue);
    }
}

std::string value_text(const Parameter& parameter) {
    const Json value = value_object(parameter);
    return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string put_value(const std::string& text, Parameter* parameter) {
    uint8_t value[kMostValue] = {};
    if (parameter->nType == MOLTE_PARAM_INT) {
        int32_t number = 0;
        if (!put_number(text, &number)) return "is no number of 32 bits";
        uint4ToChar4(static_cast<uint32_t>(number), value);
    } else if (parameter->nType == MOLTE_PARAM_LONG) {
        int64_t number = 0;
        if (!put_number(text, &number)) return "is no number of 64 bits";
        uint8ToChar8(static_cast<uint64_t>(number), value);
    } else if (parameter->nType == MOLTE_PARAM_TEXT) {
        if (text.size() >= kMostValue) {
            return "is longer than " + std::to_string(kMostValue - 1) + " bytes";
        }
        text.copy(reinterpret_cast<char*>(value), text.size());
    } else if (parameter->nType == MOLTE_PARAM_BYTES) {
        const size_t size = bytes_of(*parameter);
        for (size_t i = 0; i < size; ++i) {
            const auto* begin = text.data() + 2 * i;
            if (text.size() != 2 * size ||
                std::from_chars(begin, begin + 2, value[i], 16).ptr != begin + 2) {
                return "isn't " + std::to_string(size) + " bytes in hex";
            }
        }
    } else {
        return "can't be put: the server has a kind of parameter that isn't known here";
    }
    std::memcpy(parameter->abyValue, value, sizeof value);
    return "";
}

Wanted wanted_of(const Tool& tool, const std::string& argument) {
    const std::string text = tool.argument(argument);
    const size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw Failure("\"" + shown(text) + "\" isn't NAME=VALUE", kUsage);
    }
    return {to_library(text.substr(0, equals)), to_library(text.substr(equals + 1))};
}

}  // namespace tool
