#pragma once

#include <string>

/// A file name per frame and network: every run of # is the frame, padded with zeros to its length, %n the name of the
/// network.
class OutputPattern {
public:
    explicit OutputPattern(std::string text)
        : myText(std::move(text)) {}

    bool hasFrame() const { return myText.find('#') != std::string::npos; }
    bool hasNet() const { return myText.find("%n") != std::string::npos; }
    std::string name(int frame, const std::string& net) const;
    const std::string& text() const { return myText; }

private:
    std::string myText;
};
