/// \file KIT_Color.h
/// A colour of three floats.
///
/// Units:      red, green and blue from 0 to 1; values outside are kept as they are.

#pragma once

class KIT_Color
{
public:
    constexpr KIT_Color() = default;
    constexpr KIT_Color(float r, float g, float b) : myRed(r), myGreen(g), myBlue(b) {}

    constexpr float red() const { return myRed; }
    constexpr float green() const { return myGreen; }
    constexpr float blue() const { return myBlue; }

    constexpr bool operator==(const KIT_Color &other) const
    {
        return myRed == other.myRed && myGreen == other.myGreen && myBlue == other.myBlue;
    }
    constexpr bool operator!=(const KIT_Color &other) const { return !(*this == other); }

    /// Means "none chosen": white.
    static const KIT_Color theNoColor;

private:
    float myRed = 0.0f;
    float myGreen = 0.0f;
    float myBlue = 0.0f;
};

inline constexpr KIT_Color KIT_Color::theNoColor{1.0f, 1.0f, 1.0f};
