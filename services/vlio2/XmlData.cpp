#include <vlio2/XmlData.h>
