#pragma once

#include <client/Policy.h>

#include <tests/client/Space.h>

#include <gtest/gtest.h>

#include <tuple>

namespace ClientTest {

/** A policy by name and a family. */
using Case = std::tuple<std::string, AddressFamily>;

/** Every policy with each family. */
inline std::vector<Case> allCases() {
    std::vector<Case> all;
    for (auto const& policy : LpmClient::policies()) {
        all.emplace_back(policy.name, AddressFamily::ipv4);
        all.emplace_back(policy.name, AddressFamily::ipv6);
    }
    return all;
}

/** The case's name as GoogleTest allows it. */
inline std::string caseName(testing::TestParamInfo<Case> const& tested) {
    std::string name = std::get<0>(tested.param);
    std::erase_if(name, [](char c) { return c == '-'; });
    return name + (std::get<1>(tested.param) == AddressFamily::ipv4 ? "V4" : "V6");
}

}  // namespace ClientTest
