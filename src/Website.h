// Where the project is to be found.
#ifndef RAVELO_WEBSITE_H
#define RAVELO_WEBSITE_H

namespace orvane {

/// Address of the project, without a slash at its end: its pages follow behind one.
inline constexpr const char* kWebsite = "https://orvane.example/ravelo";

}  // namespace orvane

#endif
