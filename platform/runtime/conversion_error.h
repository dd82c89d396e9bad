// The one failure of the runtime's conversions. A routine without handling of its own lets it
// propagate; the few places that go on after a failure catch exactly this type.
#ifndef KETRA_PLATFORM_RUNTIME_CONVERSION_ERROR_H_
#define KETRA_PLATFORM_RUNTIME_CONVERSION_ERROR_H_

#include <stdexcept>
#include <string>

namespace ketra::runtime {

enum class ConversionFailure {
  kTypeMismatch,  // the text is no number, or no text where one is needed
  kOverflow,      // the number does not fit the field it is taken into
  kInvalidCall,   // an argument outside what the conversion accepts (the code of an empty text)
};

class ConversionError : public std::runtime_error {
 public:
  ConversionError(ConversionFailure failure, const std::string& what)
      : std::runtime_error(what), failure_(failure) {}
  ConversionFailure failure() const { return failure_; }

 private:
  ConversionFailure failure_;
};

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_CONVERSION_ERROR_H_
