<?php
// The operations that the interoperability WSDL documents describe, for PHP's SoapServer.
// RpcService takes the parts as arguments; DocumentService takes the one wrapper element of a
// document/literal call and answers with the wrapper of the reply.

class RpcService
{
    /** The user that the request's session header named, if one came. */
    public $user = null;

    /** SoapServer calls this for a request header named "session". */
    public function session($header)
    {
        $this->user = is_object($header) ? $header->user : $header;
        $GLOBALS['server']->addSoapHeader(new SoapHeader('urn:interop', 'served', 'by PHP'));
    }

    public function echoString($inputString) { return $inputString; }
    public function echoInteger($inputInteger) { return $inputInteger; }
    public function echoDouble($inputDouble) { return $inputDouble; }
    public function echoBoolean($inputBoolean) { return $inputBoolean; }
    public function echoBase64($inputBase64) { return $inputBase64; }
    public function echoStringArray($inputStringArray) { return $inputStringArray; }
    public function echoStruct($inputStruct) { return $inputStruct; }

    /** Always the same instant, written with an offset of two hours. */
    public function fixedTime() { return '2004-05-06T09:08:09+02:00'; }

    public function whoAmI() { return $this->user === null ? 'nobody' : $this->user; }

    public function fail($reason)
    {
        throw new SoapFault('Server', 'Failed on purpose: ' . $reason, 'urn:interop:actor',
                            array('reason' => $reason));
    }
}

class DocumentService
{
    private $rpc;

    public function __construct() { $this->rpc = new RpcService(); }

    public function session($header) { $this->rpc->session($header); }

    public function echoStringArray($wrapper)
    {
        $items = isset($wrapper->inputStringArray->item) ? $wrapper->inputStringArray->item : array();
        return array('return' => array('item' => is_array($items) ? $items : array($items)));
    }

    public function __call($name, $arguments)
    {
        $parts = isset($arguments[0]) && is_object($arguments[0])
                     ? array_values(get_object_vars($arguments[0])) : array();
        return array('return' => call_user_func_array(array($this->rpc, $name), $parts));
    }
}
