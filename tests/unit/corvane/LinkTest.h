#pragma once

#include <gtest/gtest.h>

#include <string>

#include "Corvane.h"

namespace ponmgr::test {

/// Both ends of a link at one path, not yet attached to it.
class LinkTest : public testing::Test {
protected:
    static constexpr const char* kPath = "/tmp/receiver.ipc";

    LinkTest();
    ~LinkTest() override;

    /// Makes both sockets, binds the receiver and connects the sender; a fatal failure otherwise.
    void attach();

    /// Receives one message; a failure is reported, and its text returned.
    std::string received();

    /// Lets `corvane` fail once, to be called before NoMoreDescriptors: the first time that the
    /// undefined-behaviour sanitizer sees an exception of a type, it opens descriptors to check it.
    static void failOnce(Corvane& corvane);

    Corvane receiver{2010};
    Corvane sender{2001};
};

/// The same, attached.
class AttachedLinkTest : public LinkTest {
protected:
    void SetUp() override { attach(); }
};

}  // namespace ponmgr::test
