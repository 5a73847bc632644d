try {
  SOAP.request({cURL: 'http://127.0.0.1:18777/silent', oRequest: {'urn:test:ping': {}}, cAction: 'urn:test#ping'});
  console.println('answered');
} catch (e) { console.println(e.name + ' ' + e.statusCode + ' ' + e.message); }
