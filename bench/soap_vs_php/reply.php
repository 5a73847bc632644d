<?php
// Writes the canned reply of the side-by-side benchmark to standard output:
//   php reply.php encoded|literal COUNT
// COUNT structs {id: int, name: string, price: float, active: boolean}, in an rpc/encoded
// SOAP 1.1 reply (every value typed, the structs in a SOAP-ENC:Array) or a document/literal one
// (no types, the structs as repeated elements of the wrapper).
if ($argc != 3 || !in_array($argv[1], array('encoded', 'literal')) || !ctype_digit($argv[2])) {
    fwrite(STDERR, "usage: php reply.php encoded|literal COUNT\n");
    exit(2);
}
$encoded = $argv[1] === 'encoded';
$count = (int)$argv[2];

$out = fopen('php://stdout', 'w');
fwrite($out, '<?xml version="1.0" encoding="UTF-8"?>' . "\n");
if ($encoded) {
    fwrite($out, '<SOAP-ENV:Envelope xmlns:SOAP-ENV="http://schemas.xmlsoap.org/soap/envelope/"'
        . ' xmlns:ns1="urn:bench" xmlns:xsd="http://www.w3.org/2001/XMLSchema"'
        . ' xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"'
        . ' xmlns:SOAP-ENC="http://schemas.xmlsoap.org/soap/encoding/"'
        . ' SOAP-ENV:encodingStyle="http://schemas.xmlsoap.org/soap/encoding/">'
        . '<SOAP-ENV:Body><ns1:echoItemsResponse>'
        . '<return SOAP-ENC:arrayType="ns1:Item[' . $count . ']" xsi:type="SOAP-ENC:Array">');
    for ($i = 0; $i < $count; ++$i) {
        fwrite($out, '<item xsi:type="ns1:Item"><id xsi:type="xsd:int">' . $i . '</id>'
            . '<name xsi:type="xsd:string">Item number ' . $i . '</name>'
            . '<price xsi:type="xsd:float">' . ($i + 0.25) . '</price>'
            . '<active xsi:type="xsd:boolean">' . ($i % 2 ? 'false' : 'true') . '</active></item>');
    }
    fwrite($out, '</return></ns1:echoItemsResponse></SOAP-ENV:Body></SOAP-ENV:Envelope>' . "\n");
} else {
    fwrite($out, '<soap:Envelope xmlns:soap="http://schemas.xmlsoap.org/soap/envelope/">'
        . '<soap:Body><echoItemsResponse xmlns="urn:bench">');
    for ($i = 0; $i < $count; ++$i) {
        fwrite($out, '<item><id>' . $i . '</id><name>Item number ' . $i . '</name>'
            . '<price>' . ($i + 0.25) . '</price>'
            . '<active>' . ($i % 2 ? 'false' : 'true') . '</active></item>');
    }
    fwrite($out, '</echoItemsResponse></soap:Body></soap:Envelope>' . "\n");
}
