// The one exception of the COM paths: raised while reading attributes when MSXML
// hands back a null reference, and when a system string cannot be made. The host
// turns it into a status at the boundary (a command's Load).
#pragma once

struct ComError {
  long hr;
};
