// The loader entry of SOAP.so. Filled in by the life-cycle work; kept minimal so the product links.
