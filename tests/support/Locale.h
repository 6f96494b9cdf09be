#pragma once

#include "support/Program.h"

#include <cstdlib>
#include <string>

/// What the environment names as the locale, while it lives.
class Environment {
public:
    explicit Environment(const char* locale) : m_had(std::getenv("LC_ALL") != nullptr), m_old(m_had ? std::getenv("LC_ALL") : "") {
        setenv("LC_ALL", locale, 1);
    }
    ~Environment() {
        if (m_had) setenv("LC_ALL", m_old.c_str(), 1);
        else unsetenv("LC_ALL");
    }

private:
    bool m_had;
    std::string m_old;
};

/// A locale that is made for the test: no system has it ready. Locales are looked for in LOCPATH first.
class OwnLocale {
public:
    OwnLocale(const std::string& language, const std::string& codeSet, const std::string& name) {
        const std::string command = "localedef --no-archive -i " + language + " -f " + codeSet + " '" + m_directory.File(name) + "' 2>&1";
        made = std::system(command.c_str()) == 0;
        setenv("LOCPATH", m_directory.File("").c_str(), 1);
    }
    ~OwnLocale() { unsetenv("LOCPATH"); }
    bool made;

private:
    ScratchDirectory m_directory;
};
